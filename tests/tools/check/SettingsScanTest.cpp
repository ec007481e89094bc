// SPDX-License-Identifier: Apache-2.0
#include "tools/check/SettingsScan.h"

#include <string>

#include <gtest/gtest.h>

using namespace VelrixTools;

namespace {

// "[name@begin-end] key@begin-end=value@begin-end ..."
std::string Show(const Word& word) {
    return word.text + "@" + std::to_string(word.span.begin) + "-" + std::to_string(word.span.end);
}

std::string Scan(const std::string& text) {
    const ScannedFile file = ScanSettings(text);
    std::string shown;
    for (const ScannedSection& section : file.sections) {
        shown += section.name.text.empty() ? "" : "[" + Show(section.name) + "] ";
        for (const ScannedPair& pair : section.pairs)
            shown += Show(pair.key) + "=" + Show(pair.value) + " ";
    }
    return shown + (file.stop ? "stop at " + std::to_string(file.stop->offset) : "end");
}

} // namespace

TEST(SettingsScan, KeepsWhereEachNameAndValueIs) {
    const struct {
        std::string text;
        const char* scanned;
    } rows[] = {
        {"", "end"},
        {"a=b", "a@0-1=b@2-3 end"},
        {" ab = cd #e\n", "ab@1-3=cd@6-8 end"},
        {"[xy]\nk=v\n[z]", "[xy@1-3] k@5-6=v@7-8 [z@10-11] end"},
        {"k=\"a b\"\n", "k@0-1=a b@2-7 end"},
        {"k=\"\"", "k@0-1=@2-4 end"},
        {"k=\"\\\"\\n\"", "k@0-1=\"n@2-8 end"},
        {"k=\"a\nb\" l", "k@0-1=a\nb@2-7 stop at 8"},
        {"k=v", "k@0-1=v@2-3 end"},
        {"k=v_", "stop at 3"},
        {"k=", "stop at 2"},
        {"a=1\nk", "a@0-1=1@2-3 stop at 5"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Scan(row.text), row.scanned) << row.text;
}

TEST(SettingsScan, KeepsTheIncompleteWordsOfAStop) {
    const auto key = ScanSettings("a=1\n  key").stop;
    ASSERT_TRUE(key);
    EXPECT_EQ(key->key.text, "key");
    EXPECT_EQ(key->key.span.begin, 6U);

    const auto header = ScanSettings("[").stop;
    ASSERT_TRUE(header);
    EXPECT_EQ(header->name.span.begin, 0U);

    const auto name = ScanSettings("[ab").stop;
    ASSERT_TRUE(name);
    EXPECT_EQ(name->name.span.begin, 1U);

    const auto value = ScanSettings("k = \"x\\").stop;
    ASSERT_TRUE(value);
    EXPECT_EQ(value->value.span.begin, 4U);
}
