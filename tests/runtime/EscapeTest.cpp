// SPDX-License-Identifier: Apache-2.0
#include "runtime/Escape.h"

#include <string>
#include <string_view>

#include <gtest/gtest.h>

namespace {

std::string Escaped(std::u16string_view text) {
    std::string target;
    System::AppendEscaped(target, text);
    return target;
}

TEST(Escape, WritesControlCharactersAsEscapesAndDoublesTheBackslash) {
    const struct {
        std::u16string_view text;
        const char* expected;
    } CASES[] = {
        {u"", ""},
        {u"plain", "plain"},
        {u"a\nb", "a\\nb"},
        {u"\r", "\\r"},
        {u"\t", "\\t"},
        {u"\x1b", "\\x1b"},
        {u"\b", "\\x08"},
        {std::u16string_view(u"\0", 1), "\\x00"},
        {u"\x1f", "\\x1f"},
        {u" ", " "},
        {u"~", "~"},
        {u"\x7f", "\\x7f"},
        {u"\u0080", "\\x80"},
        {u"\u0085\u009b31m", "\\x85\\x9b31m"},
        {u"\u009f\u00a0", "\\x9f\xc2\xa0"},
        {u"\\n", "\\\\n"},
        {u"\n\n", "\\n\\n"},
        {u"\u00e9\n\u20ac", "\xc3\xa9\\n\xe2\x82\xac"},
        {u"\U0001F600\\", "\xf0\x9f\x98\x80\\\\"},
        {u"\"'", "\"'"},
    };
    for (const auto& row : CASES)
        EXPECT_EQ(Escaped(row.text), row.expected);
}

TEST(Escape, KeepsATextAsItIsButOnOneLine) {
    const struct {
        std::u16string_view text;
        const char* expected;
    } CASES[] = {
        {u"", ""},
        {u"C:\\new\ttable", "C:\\new\ttable"},
        {u"a\nb\r", "a\\nb\\r"},
        {u"\\\n\\", "\\\\n\\"},
        {std::u16string_view(u"\0\x1b\x7f", 3), "\\x00\\x1b\\x7f"},
        {u"\u0085\u00e9", "\\x85\xc3\xa9"},
    };
    for (const auto& row : CASES) {
        std::string target = ">";
        System::AppendOnOneLine(target, row.text);
        EXPECT_EQ(target, ">" + std::string(row.expected));
    }
}

TEST(Escape, AddsToTheEndOfTheTarget) {
    std::string target = "before\n";

    System::AppendEscaped(target, u"a\n");

    EXPECT_EQ(target, "before\na\\n");
}

TEST(Escape, CanBeReadBackForEveryControlCharacter) {
    for (char16_t unit = 0; unit < 0xA0; ++unit) {
        const std::string escaped = Escaped({&unit, 1});
        SCOPED_TRACE(escaped);

        unsigned back = 0;
        if (escaped.size() == 1)
            back = static_cast<unsigned char>(escaped[0]);
        else if (escaped == "\\n")
            back = 10;
        else if (escaped == "\\r")
            back = 13;
        else if (escaped == "\\t")
            back = 9;
        else if (escaped == "\\\\")
            back = '\\';
        else
            back = static_cast<unsigned>(std::stoul(escaped.substr(2), nullptr, 16));

        EXPECT_EQ(back, unit);
        for (const char byte : escaped)
            EXPECT_TRUE(byte >= 0x20 && byte < 0x7F);
    }
}

} // namespace
