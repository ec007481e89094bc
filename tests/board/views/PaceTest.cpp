// SPDX-License-Identifier: Apache-2.0
#include "board/views/Pace.h"

#include <gtest/gtest.h>

namespace VelrixBoard {
namespace {

using namespace std::chrono_literals;

TEST(PaceTest, SaysHowManyTimesFasterTheBoardsTimePasses) {
    BoardTime machine = 7s;
    Pace pace([&machine] { return machine; });

    EXPECT_EQ(pace.TextAt(2s), ""); // nothing was measured yet
    machine += Pace::WINDOW;
    EXPECT_EQ(pace.TextAt(2500ms), "5.0x");
    machine += Pace::WINDOW - 1ns;
    EXPECT_EQ(pace.TextAt(1h), "5.0x");
    machine += 1ns;
    EXPECT_EQ(pace.TextAt(2500ms + 90s), "180x");
}

TEST(PaceTest, SaysNothingAtTheMachinesPace) {
    BoardTime machine{0};
    Pace pace([&machine] { return machine; });

    machine += 1s;
    EXPECT_EQ(pace.TextAt(1050ms), "");
    machine += 1s;
    EXPECT_EQ(pace.TextAt(1550ms), "0.5x");
    machine += 2s;
    EXPECT_EQ(pace.TextAt(3550ms), "");
}

} // namespace
} // namespace VelrixBoard
