// SPDX-License-Identifier: Apache-2.0
#include "board/timeline/Timeline.h"

#include <gtest/gtest.h>

using namespace VelrixBoard;
using std::chrono::microseconds;
using std::chrono::seconds;

TEST(ParseTime, ReadsTimesInEveryUnit) {
    EXPECT_EQ(ParseTime("0s"), seconds(0));
    EXPECT_EQ(ParseTime("7us"), microseconds(7));
    EXPECT_EQ(ParseTime("0.5ms"), microseconds(500));
    EXPECT_EQ(ParseTime("1.0000004s"), seconds(1));
    EXPECT_EQ(ParseTime("525600min"), std::chrono::hours(365 * 24));
}

TEST(ParseTime, TakesNothingElse) {
    for (const char* text : {"", "s", "1", "1 s", "1h", "-1s", "-0s", "1e3s", "0x1s", "525601min", "nan s", "nans",
                             "infs", "1s.", "1.s", ".5s", "1.2.3s", "."})
        EXPECT_EQ(ParseTime(text), std::nullopt) << text;
}
