// SPDX-License-Identifier: Apache-2.0
#include "board/scenario/LedHistory.h"

#include <gtest/gtest.h>

using namespace VelrixBoard;
using std::chrono::milliseconds;

namespace {

std::string Text(const LedHistory& history) {
    std::string text;
    for (const auto& phase : history.Phases())
        text += (text.empty() ? "" : ", ") + phase.color + " " + std::to_string(phase.begin.count() / 1'000);
    return text;
}

} // namespace

TEST(LedHistory, CallsAColorAPhaseOnceItLasted) {
    LedHistory history;
    EXPECT_EQ(history.Due(), std::nullopt);
    history.Set("green", true, milliseconds(10));

    EXPECT_EQ(history.Due(), milliseconds(15));
    history.Settle(milliseconds(15) - ScenarioTime(1));
    EXPECT_EQ(Text(history), "");
    history.Settle(milliseconds(15));

    EXPECT_EQ(Text(history), "green 10");
    EXPECT_EQ(history.Due(), std::nullopt);
}

TEST(LedHistory, PassesOverTheInstantBetweenTwoColors) {
    LedHistory history;
    history.Set("green", true, milliseconds(0));
    history.Set("green", false, milliseconds(500));
    history.Set("red", true, milliseconds(502));
    history.Settle(milliseconds(600));

    EXPECT_EQ(Text(history), "green 0, red 502");
    EXPECT_EQ(history.Phases().front().end, milliseconds(500));
}

TEST(LedHistory, NamesElementsThatAreLitTogether) {
    LedHistory history;
    history.Set("red", true, milliseconds(0));
    history.Set("green", true, milliseconds(1));
    history.Settle(milliseconds(10));

    EXPECT_EQ(Text(history), "green+red 1");
}

TEST(LedHistory, GoesOnWithAPhaseThatAnInstantInterrupted) {
    LedHistory history;
    history.Set("green", true, milliseconds(0));
    history.Set("green", false, milliseconds(100));
    history.Set("green", true, milliseconds(101));
    history.Settle(milliseconds(200));

    EXPECT_EQ(Text(history), "green 0");
}

TEST(LedHistory, CountsDarknessAsAPhase) {
    LedHistory history;
    history.Set("green", false, milliseconds(0));
    history.Set("green", true, milliseconds(100));
    history.Set("green", false, milliseconds(200));
    history.Settle(milliseconds(300));

    EXPECT_EQ(Text(history), "off 0, green 100, off 200");
}
