// SPDX-License-Identifier: Apache-2.0
#include "tools/check/SettingsText.h"

#include <string>

#include <gtest/gtest.h>

using namespace VelrixTools;

TEST(SettingsText, CountsLinesAndCodePointsFromOne) {
    const std::string text = "ab\n\xC3\xA4 \xE2\x82\xAC x\n\xF0\x9F\x98\x80y";
    const struct {
        Span span;
        std::size_t line, column, width;
    } rows[] = {
        {{0, 2}, 1, 1, 2},   {{1, 2}, 1, 2, 1},  {{2, 3}, 1, 3, 1}, // the line end itself
        {{3, 5}, 2, 1, 1},                                          // two bytes
        {{6, 9}, 2, 3, 1},                                          // three
        {{10, 11}, 2, 5, 1},                                        // after both
        {{12, 17}, 3, 1, 2},                                        // four and one
        {{16, 17}, 3, 2, 1}, {{0, 17}, 1, 1, 2},                    // of several lines the first one
        {{5, 5}, 2, 2, 1},                                          // never less than one
    };
    for (const auto& row : rows) {
        const Location location = LocationOf(text, row.span);
        EXPECT_EQ(location.line, row.line) << row.span.begin;
        EXPECT_EQ(location.column, row.column) << row.span.begin;
        EXPECT_EQ(location.width, row.width) << row.span.begin;
    }
}

TEST(SettingsText, CountsBytesThatAreNotUtf8Alone) {
    for (const char* text : {"\x80", "\xC3", "\xC3(", "\xC0\xAF", "\xE0\x80\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80",
                             "\xF0\x9F\x98", "\xFF\xFE"})
        EXPECT_EQ(CodePointSize(text, 0), 1U) << testing::PrintToString(text);
    EXPECT_EQ(CodePointSize("\xF4\x8F\xBF\xBF", 0), 4U);
    EXPECT_EQ(CodePointSize("\xED\x9F\xBF", 0), 3U);
}

TEST(SettingsText, GivesALineWithoutItsEnd) {
    const std::string text = "ab\r\n\ncd";
    EXPECT_EQ(LineAt(text, 0), "ab");
    EXPECT_EQ(LineAt(text, 3), "ab"); // the line end belongs to the line
    EXPECT_EQ(LineAt(text, 4), "");
    EXPECT_EQ(LineAt(text, 5), "cd");
    EXPECT_EQ(LineAt(text, text.size()), "cd");
    EXPECT_EQ(LineAt("", 0), "");
}

TEST(SettingsText, ShowsNothingThatCouldDriveATerminal) {
    EXPECT_EQ(Printable("a\tb\x1b[2J\x7f\xC2\x9B\xFF\xC3\xA4"), "a\tb?[2J???\xC3\xA4");
}

TEST(SettingsText, NamesCharacters) {
    const struct {
        std::string text;
        const char* name;
    } rows[] = {
        {"_", "\"_\""},
        {"\xC3\xA4", "\"\xC3\xA4\""},
        {"\"", "a quote"},
        {" ", "a blank"},
        {"\t", "a tab"},
        {"\n", "the end of the line"},
        {"\r\n", "the end of the line"},
        {"\r", "the byte 0x0D"},
        {std::string(1, '\0'), "the byte 0x00"},
        {"\xFF", "the byte 0xFF"},
        {"", "the end of the file"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(NameOfCharacter(row.text, 0), row.name);
}

TEST(SettingsText, QuotesOnlyWhatNeedsQuotes) {
    EXPECT_EQ(Quoted("/sys/a-b.c+1"), "/sys/a-b.c+1");
    EXPECT_EQ(Quoted(""), "\"\"");
    EXPECT_EQ(Quoted("/my_pin"), "\"/my_pin\"");
    EXPECT_EQ(Quoted("a\"b\\c"), "\"a\\\"b\\\\c\"");
}
