// SPDX-License-Identifier: Apache-2.0
#include "board/scenario/Printable.h"

#include <gtest/gtest.h>

namespace VelrixBoard {
namespace {

using namespace std::string_view_literals;

TEST(PrintableTest, KeepsWhatEveryTerminalAndEveryReaderTakes) {
    for (const std::string_view text :
         {""sv, "a\tb \\ ~"sv, "\u00A0\u00E4\u07FF"sv, "\u0800\uD7FF\uE000\uFFFD"sv, "\U00010000\U0010FFFF"sv})
        EXPECT_EQ(Printable(text), text);
}

TEST(PrintableTest, WritesControlCharactersAndInvalidBytesInHexadecimal) {
    const struct {
        std::string_view text;
        std::string_view printable;
    } rows[] = {
        {"a\0b"sv, "a\\x00b"},
        {"\x1B[2J\r"sv, "\\x1B[2J\\x0D"},
        {"two\nlines"sv, "two\\nlines"},
        {"\x1F\x7F"sv, "\\x1F\\x7F"},
        {"\u0080\u009F"sv, "\\xC2\\x80\\xC2\\x9F"},
        {"20 \xB0\x43"sv, "20 \\xB0C"},
        {"\xC3"sv, "\\xC3"},
        {"\xC3\xC3\xA4"sv, "\\xC3\u00E4"},
        {"\xE2\x82"sv, "\\xE2\\x82"},
        {"\xE2\x82z"sv, "\\xE2\\x82z"},
        {"\xC1\xBF"sv, "\\xC1\\xBF"},
        {"\xE0\x9F\xBF"sv, "\\xE0\\x9F\\xBF"},
        {"\xF0\x8F\xBF\xBF"sv, "\\xF0\\x8F\\xBF\\xBF"},
        {"\xED\xA0\x80\xED\xBF\xBF"sv, "\\xED\\xA0\\x80\\xED\\xBF\\xBF"},
        {"\xF4\x90\x80\x80"sv, "\\xF4\\x90\\x80\\x80"},
        {"\xF8\xFF"sv, "\\xF8\\xFF"},
        {"\xEF\xBF\xBE\xEF\xBF\xBF"sv, "\\xEF\\xBF\\xBE\\xEF\\xBF\\xBF"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(Printable(row.text), row.printable);
}

} // namespace
} // namespace VelrixBoard
