// SPDX-License-Identifier: Apache-2.0
#include "tools/velrixctl/WebLogReader.h"

#include <string>

#include <gtest/gtest.h>

using namespace VelrixTools;

namespace {

std::string Show(const WebLogRecord& record) {
    const char* const kinds[] = {"start", "end",   "break",      "message", "warning",
                                 "error", "title", "percentage", "other"};
    return std::string(kinds[static_cast<int>(record.kind)]) + "(" +
           (record.kind == WebLogRecord::Kind::PERCENTAGE ? std::to_string(record.percentage) : record.text) + ")" +
           (record.isTorn ? " torn" : "");
}

} // namespace

TEST(WebLogReader, KnowsTheMarkersOfTheLibrary) {
    const struct {
        const char* line;
        const char* record;
    } rows[] = {
        {">start", "start()"},
        {">end", "end()"},
        {">br", "break()"},
        {"+text", "message(text)"},
        {"+", "message()"},
        {"@wtext", "warning(text)"},
        {"@etext", "error(text)"},
        {"%title", "title(title)"},
        {"%", "title()"},
        {"%0", "percentage(0)"},
        {"%45", "percentage(45)"},
        {"%100", "percentage(100)"},
        {"%999", "percentage(100)"},
        {"%1234", "title(1234)"},
        {"%4 5", "title(4 5)"},
        {"%-1", "title(-1)"},
        {">starting", "other(>starting)"},
        {"@x", "other(@x)"},
        {"", "other()"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Show(WebLogRecord::Read(row.line)), row.record) << row.line;
}

TEST(WebLogReader, JoinsTheWritesOfARecord) {
    std::string shown;
    WebLogReader reader([&](const WebLogRecord& record) { shown += Show(record) + ";"; });

    for (const char* part : {">sta", "rt\n+", "a", "\n\n%4", "5"})
        reader.Read(part);
    EXPECT_EQ(shown, "start();message(a);other();");
    reader.End();
    reader.End();

    EXPECT_EQ(shown, "start();message(a);other();percentage(45) torn;");
}

TEST(WebLogReader, BoundsARecord) {
    std::size_t records = 0, longest = 0;
    WebLogReader reader([&](const WebLogRecord& record) {
        ++records;
        longest = std::max(longest, record.text.size());
    });

    reader.Read(std::string(3 * WebLogReader::LONGEST, 'x'));
    reader.End();

    EXPECT_EQ(records, 3U);
    EXPECT_EQ(longest, WebLogReader::LONGEST);
}
