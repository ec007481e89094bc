// SPDX-License-Identifier: Apache-2.0
#include "board/emulated/GpioTrace.h"

#include <string>

#include <gtest/gtest.h>

namespace {

using VelrixBoard::ParseGpioWrite;

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

} // namespace
