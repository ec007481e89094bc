// SPDX-License-Identifier: Apache-2.0
#include "tools/help/Layout.h"

#include <cstdlib>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <unistd.h>

using namespace VelrixTools;

namespace {

// The width for this value of COLUMNS, null for none, where the output is no terminal.
std::size_t WidthInAPipe(const char* columns) {
    if (columns == nullptr)
        ::unsetenv("COLUMNS");
    else
        ::setenv("COLUMNS", columns, 1);
    const int file = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    const std::size_t width = OutputWidth(file);
    ::close(file);
    return width;
}

// The width of a terminal of so many columns.
std::size_t WidthOnATerminal(unsigned short columns) {
    const winsize size{24, columns, 0, 0};
    int outside = -1, inside = -1;
    EXPECT_EQ(::openpty(&outside, &inside, nullptr, nullptr, &size), 0);
    const std::size_t width = OutputWidth(inside);
    ::close(inside);
    ::close(outside);
    return width;
}

} // namespace

TEST(Layout, TakesTheWidthOfTheTerminalThenTheVariableThen80) {
    const struct {
        const char* columns;
        std::size_t width;
    } rows[] = {
        {nullptr, 80}, {"", 80},   {"0", 80},  {"wide", 80}, {"100x", 80}, {"-5", 80},   {"99999999999999999999", 80},
        {"1", 60},     {"59", 60}, {"60", 60}, {"61", 61},   {"119", 119}, {"120", 120}, {"121", 120},
    };
    for (const auto& row : rows)
        EXPECT_EQ(WidthInAPipe(row.columns), row.width) << (row.columns == nullptr ? "none" : row.columns);

    ::setenv("COLUMNS", "77", 1);
    EXPECT_EQ(WidthOnATerminal(100), 100U);
    EXPECT_EQ(WidthOnATerminal(10), 60U);
    EXPECT_EQ(WidthOnATerminal(500), 120U);
    EXPECT_EQ(WidthOnATerminal(0), 77U); // a serial line, which does not know its size
}

TEST(Layout, WrapsWordsAndIndentsEachLine) {
    EXPECT_EQ(Wrapped("one two three", 9, 2), "  one two\n  three\n");
    EXPECT_EQ(Wrapped("one two", 7, 0), "one two\n");
    EXPECT_EQ(Wrapped("one two", 6, 0), "one\ntwo\n");
    EXPECT_EQ(Wrapped("a-word-that-is-too-long x", 5, 1), " a-word-that-is-too-long\n x\n");
    EXPECT_EQ(Wrapped("", 10, 2), "");
}

TEST(Layout, HasTwoColumnsForAllSections) {
    const std::vector<HelpSection> sections = {
        {"", {{"FILE", "one two three four"}}},
        {"Empty", {}},
        {"Views", {{"--panel", "five"}, {"--names-of-21-columns", "six"}, {"--name-of-20-columns", "seven"}}},
        {"", {{"bare", ""}}},
    };

    EXPECT_EQ(InColumns(sections, 36), R"(
  FILE                  one two
                        three four

Views:

  --panel               five
  --names-of-21-columns
                        six
  --name-of-20-columns  seven

  bare
)");
    EXPECT_EQ(InColumns({{"", {{"a", "b c"}}}}, 80), "\n  a  b c\n");
    EXPECT_EQ(InColumns({}, 80), "");
}
