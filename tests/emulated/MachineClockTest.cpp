// SPDX-License-Identifier: Apache-2.0
#include "board/emulated/MachineClock.h"

#include <gtest/gtest.h>

namespace {

using std::chrono::microseconds;
using VelrixBoard::MachineClock;

TEST(MachineClock, RunsWithTheHostsClock) {
    const MachineClock clock;

    EXPECT_EQ(clock.At(microseconds(1'795'245'581'022'744)).count(), 1'795'245'581'022'744);
}

TEST(MachineClock, StandsWhileTheMachineStandsAndGoesOnFromThere) {
    MachineClock clock;

    clock.Stop(microseconds(1000));
    EXPECT_EQ(clock.At(microseconds(900)).count(), 900);
    EXPECT_EQ(clock.At(microseconds(1000)).count(), 1000);
    EXPECT_EQ(clock.At(microseconds(5000)).count(), 1000);
    clock.Run(microseconds(5000));
    EXPECT_EQ(clock.At(microseconds(5000)).count(), 1000);
    EXPECT_EQ(clock.At(microseconds(5200)).count(), 1200);

    clock.Stop(microseconds(6000));
    clock.Run(microseconds(6001));
    EXPECT_EQ(clock.At(microseconds(7000)).count(), 2999);
}

TEST(MachineClock, TakesNothingOffForTheFirstStart) {
    MachineClock clock;

    clock.Run(microseconds(3000));

    EXPECT_EQ(clock.At(microseconds(4000)).count(), 4000);
}

} // namespace
