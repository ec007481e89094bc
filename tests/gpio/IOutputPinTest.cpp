// SPDX-License-Identifier: Apache-2.0
#include <velrix/gpio/IOutputPin.h>

#include <type_traits>

#include <gtest/gtest.h>

#include "tests/support/VirtualSlot.h"

using TestSupport::SlotOf;
using Velrix::Gpio::IOutputPin;

TEST(IOutputPin, HasItsOperationsInOrderBehindThoseOfObject) {
    EXPECT_EQ(SlotOf(&IOutputPin::Equals), 0);
    EXPECT_EQ(SlotOf(&IOutputPin::GetHashCode), 1);
    EXPECT_EQ(SlotOf(&IOutputPin::ToString), 2);
    EXPECT_EQ(SlotOf(&IOutputPin::SetHigh), 5); // the destructor takes two
    EXPECT_EQ(SlotOf(&IOutputPin::SetLow), 6);
}

TEST(IOutputPin, IsAPureInterface) {
    EXPECT_TRUE(std::is_abstract_v<IOutputPin>);
    EXPECT_EQ(sizeof(IOutputPin), sizeof(System::Object));
}
