// SPDX-License-Identifier: Apache-2.0
#include "board/emulated/GpioTrace.h"

#include <string>

#include <gtest/gtest.h>

namespace {

using VelrixBoard::ParseGpioWrite;
using VelrixBoard::ParseTransition;

TEST(GpioTrace, ReadsTimeRegisterAndValueOfAWrite) {
    const auto write = ParseGpioWrite("12439@1795245581.022744:aspeed_gpio_write offset: 0x0 value 0x80000220");

    ASSERT_TRUE(write);
    EXPECT_EQ(write->time.count(), 1'795'245'581'022'744);
    EXPECT_EQ(write->offset, VelrixBoard::GpioWrite::DATA);
    EXPECT_EQ(write->value, 0x80000220U);
}

TEST(GpioTrace, ReadsOtherRegisters) {
    const auto write = ParseGpioWrite("1@2.000003:aspeed_gpio_write offset: 0x1dc value 0xf");

    ASSERT_TRUE(write);
    EXPECT_EQ(write->time.count(), 2'000'003);
    EXPECT_EQ(write->offset, 0x1dcU);
}

TEST(GpioTrace, PassesOverEverythingElse) {
    for (const char* line : {
             "",
             "aspeed_gpio_write offset: 0x0 value 0x1",
             "1@2.3:aspeed_gpio_read offset: 0x0 value 0x1",
             "1@2.3:aspeed_gpio_write offset: 0x0",
             "1@2.3:aspeed_gpio_write offset: 0x0 value 0x",
             "1@2.3:aspeed_gpio_write offset: 0x0 value 0x1 ",
             "1@2.3:aspeed_gpio_write offset: 0x0 value 0x100000000",
             "@2.3:aspeed_gpio_write offset: 0x0 value 0x1",
         })
        EXPECT_FALSE(ParseGpioWrite(line)) << line;
}

TEST(GpioTrace, TellsWhenTheMachineStopsAndRuns) {
    const auto stop =
        ParseTransition("8303@1795290372.417216:runstate_set current_run_state 9 (running) new_state 0 (debug)");
    const auto run =
        ParseTransition("8303@1795290372.463024:runstate_set current_run_state 0 (debug) new_state 9 (running)");

    ASSERT_TRUE(stop && run);
    EXPECT_FALSE(stop->runs);
    EXPECT_EQ(stop->time.count(), 1'795'290'372'417'216);
    EXPECT_TRUE(run->runs);
    EXPECT_EQ(run->time.count(), 1'795'290'372'463'024);
}

TEST(GpioTrace, PassesOverWhatIsNoTransition) {
    for (const char* line : {
             "",
             "1@2.3:runstate_set current_run_state 0 (debug) new_state 4 (paused)",
             "1@2.3:runstate_set current_run_state 9 (running)",
             "1@2.3:aspeed_gpio_write offset: 0x0 value 0x1",
             "runstate_set current_run_state 9 (running) new_state 0 (debug)",
         })
        EXPECT_FALSE(ParseTransition(line)) << line;
}

} // namespace
