// SPDX-License-Identifier: Apache-2.0
#include "board/views/ChangeLines.h"

#include <gtest/gtest.h>

namespace VelrixBoard {
namespace {

using namespace std::chrono_literals;

class ChangeLinesTest : public testing::Test {
protected:
    static constexpr std::size_t MS = 0, NS = 1, MS_GREEN = 9, MS_RED = 10, NS_GREEN = 11;

    std::string Written() {
        std::string text;
        for (std::string line = lines.Next(); !line.empty(); line = lines.Next())
            text += line;
        return text;
    }

    ChangeLines lines{{"MS", "NS"}};
};

TEST_F(ChangeLinesTest, KeepTheOrderOfTheEventsNotThatOfTheirTimes) {
    lines.Add("first", 2ms);
    lines.Add("second", 1ms);
    lines.Add("third", 2ms);

    EXPECT_EQ(Written(), "   0.002 s  first\n   0.001 s  second\n   0.002 s  third\n");
    EXPECT_EQ(Written(), "");
}

TEST_F(ChangeLinesTest, MergeTheElementsOfAColour) {
    lines.AddColor(MS, MS_GREEN, "green", 1ms);
    lines.Settle(6ms);
    EXPECT_EQ(Written(), "   0.001 s  MS green\n");

    lines.AddColor(MS, MS_GREEN, "off", 10ms);
    lines.AddColor(MS, MS_RED, "red", 12ms);
    EXPECT_EQ(lines.Due(), 17ms);
    lines.Settle(17ms - 1ns);
    EXPECT_EQ(Written(), "");
    lines.Settle(17ms);

    EXPECT_EQ(Written(), "   0.012 s  MS red\n");
    EXPECT_EQ(lines.Due(), std::nullopt);
}

TEST_F(ChangeLinesTest, HaveEveryColourOfAPulse) {
    lines.AddColor(MS, MS_RED, "red", 1ms);
    lines.AddColor(MS, MS_RED, "off", 1015us);
    lines.AddColor(MS, MS_GREEN, "green", 1030us);
    lines.AddColor(MS, MS_GREEN, "off", 1045us);
    lines.Settle(10ms);

    EXPECT_EQ(Written(), "   0.001 s  MS red\n   0.001 s  MS green\n   0.001 s  MS off\n");
}

TEST_F(ChangeLinesTest, WaitForTheColourOfAnLed) {
    lines.Add("before", 1ms);
    lines.AddColor(MS, MS_GREEN, "green", 2ms);
    lines.Add("behind", 3ms);
    lines.AddColor(NS, NS_GREEN, "green", 4ms);
    lines.Add("last", 5ms);
    EXPECT_EQ(Written(), "   0.001 s  before\n");

    lines.Settle(7ms);
    EXPECT_EQ(Written(), "   0.002 s  MS green\n   0.003 s  behind\n");
    lines.Settle(9ms);

    EXPECT_EQ(Written(), "   0.004 s  NS green\n   0.005 s  last\n");
}

TEST_F(ChangeLinesTest, AreFewOfAnLedThatFlashesForever) {
    std::string written;
    for (int i = 0; i < 1000; ++i) {
        const BoardTime time = 500ms * i;
        lines.Settle(time);
        lines.AddColor(MS, MS_GREEN, i % 2 == 0 ? "green" : "off", time);
        lines.Settle(time + 5ms);
        written += Written();
    }
    EXPECT_EQ(written, "   0.000 s  MS green\n   0.500 s  MS off\n   1.000 s  MS green\n   1.500 s  MS off\n"
                       "   2.000 s  MS flashing green, 500 ms\n");

    EXPECT_EQ(lines.Due(), 500100ms);
    lines.Settle(500100ms);
    EXPECT_EQ(Written(), " 500.100 s  MS off since 499.500 s\n");
    EXPECT_EQ(lines.Due(), std::nullopt);
}

TEST_F(ChangeLinesTest, AreHeldBackUpToALimit) {
    lines.AddColor(MS, MS_GREEN, "green", 1ms);
    for (std::size_t i = 0; i < ChangeLines::MOST_HELD; ++i)
        lines.Add("line", 1ms);
    EXPECT_EQ(Written(), "");

    lines.Add("one more", 1ms);

    EXPECT_TRUE(Written().starts_with("   0.001 s  MS green\n"));
}

} // namespace
} // namespace VelrixBoard
