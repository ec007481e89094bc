// SPDX-License-Identifier: Apache-2.0
#include "board/views/OpenLine.h"

#include <string>

#include <gtest/gtest.h>

namespace VelrixBoard {
namespace {

TEST(OpenLineTest, FollowsTheCursor) {
    const struct {
        std::string text;
        bool isOpen;
        bool isRowFull;
        int column; // of ten
    } rows[] = {
        {"", false, false, 0},
        {"abc", true, false, 3},
        {"abc\n", false, false, 0},
        {"one\ntwo\nabcd", true, false, 4},
        {"abc\r", true, false, 0},
        {"abc\rx", true, false, 1},
        {"\r", false, false, 0},
        {"0123456789", true, true, 0},
        {"0123456789a", true, false, 1},
        {"0123456789abc\r", true, false, 0},
        {"0123456789\r", true, false, 0},
        {"0123456789abcdefghij", true, true, 0},
        {"a\tb", true, false, 9},
        {"a\tb\t\tc", true, true, 0},
        {"abc\b\bx", true, false, 2},
        {"0123456789\bx", true, false, 9},
        {"\b", false, false, 0},
        {"\u00E4\u20AC", true, false, 2},
        {"\033[1;31mred\033[0m", true, false, 3},
        {"\033[31m", false, false, 0},
        {"\033]0;title\007abc", true, false, 3},
        {"\033]0;title\033\\abc", true, false, 3},
        {"\0337abc", true, false, 3},
        {"\007\001", false, false, 0},
    };
    for (const auto& row : rows) {
        OpenLine whole, parts;
        whole.Take(row.text, 10);
        for (const char c : row.text)
            parts.Take(std::string(1, c), 10);

        for (const OpenLine* line : {&whole, &parts}) {
            EXPECT_EQ(line->IsOpen(), row.isOpen) << row.text;
            EXPECT_EQ(line->IsRowFull(10), row.isRowFull) << row.text;
            EXPECT_EQ(line->Column(10), row.column) << row.text;
        }
    }
}

TEST(OpenLineTest, IsInAnotherColumnOfATerminalOfAnotherWidth) {
    OpenLine line;
    line.Take("0123456789abc", 10);

    EXPECT_EQ(line.Column(20), 13);
    EXPECT_EQ(line.Column(5), 3);
    EXPECT_TRUE(line.IsRowFull(13));
}

TEST(OpenLineTest, EndsNowhereButBetweenCharactersAndCodes) {
    const std::string endless = "\033]" + std::string(100, 'x');
    const struct {
        std::string text;
        std::size_t whole;
    } rows[] = {{"", 0},
                {"abc", 3},
                {"a\xC3", 1},
                {"a\xC3\xA4", 3},
                {"a\xE2\x82", 1},
                {"\xF0\x9F\x98", 0},
                {"\xF0\x9F\x98\x80", 4},
                {"\xA4\xA4\xA4\xA4\xA4", 5},
                {"abc\033", 3},
                {"abc\033[1;3", 3},
                {"abc\033[1;31m", 10},
                {"abc\033[31mred", 11},
                {"a\033]0;title", 1},
                {endless, endless.size()}};
    for (const auto& row : rows)
        EXPECT_EQ(OpenLine::WholeLength(row.text), row.whole) << row.text;
}

} // namespace
} // namespace VelrixBoard
