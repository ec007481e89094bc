// SPDX-License-Identifier: Apache-2.0
#include <velrix/gpio/IInputPin.h>

#include <type_traits>

#include <gtest/gtest.h>

#include "tests/support/VirtualSlot.h"

using TestSupport::SlotOf;
using Velrix::Gpio::IInputPin;

TEST(IInputPin, HasItsOperationBehindThoseOfObject) {
    EXPECT_EQ(SlotOf(&IInputPin::Equals), 0);
    EXPECT_EQ(SlotOf(&IInputPin::GetHashCode), 1);
    EXPECT_EQ(SlotOf(&IInputPin::ToString), 2);
    EXPECT_EQ(SlotOf(&IInputPin::Get), 5); // the destructor takes two
}

TEST(IInputPin, IsAPureInterface) {
    EXPECT_TRUE(std::is_abstract_v<IInputPin>);
    EXPECT_EQ(sizeof(IInputPin), sizeof(System::Object));
}
