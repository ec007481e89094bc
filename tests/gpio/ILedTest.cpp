// SPDX-License-Identifier: Apache-2.0
#include <velrix/gpio/ILed.h>

#include <type_traits>

#include <gtest/gtest.h>

#include <velrix/gpio/Led.h>

#include "tests/support/VirtualSlot.h"

using TestSupport::SlotOf;
using Velrix::Gpio::ILed;
using Velrix::Gpio::Led;

TEST(ILed, HasItsOperationsInOrderBehindThoseOfObject) {
    const struct {
        const char* operation;
        int slot;
        int expected;
    } rows[] = {
        {"Equals", SlotOf(&ILed::Equals), 0},
        {"GetHashCode", SlotOf(&ILed::GetHashCode), 1},
        {"ToString", SlotOf(&ILed::ToString), 2}, // then the destructor, which takes two
        {"Off", SlotOf(&ILed::Off), 5},
        {"Green", SlotOf(&ILed::Green), 6},
        {"Red", SlotOf(&ILed::Red), 7},
        {"Yellow", SlotOf(&ILed::Yellow), 8},
        {"FlashingGreen", SlotOf(&ILed::FlashingGreen), 9},
        {"FlashingRed", SlotOf(&ILed::FlashingRed), 10},
        {"FlashingYellow", SlotOf(&ILed::FlashingYellow), 11},
        {"ToggleGreenRed", SlotOf(&ILed::ToggleGreenRed), 12},
        {"ToggleGreenYellow", SlotOf(&ILed::ToggleGreenYellow), 13},
        {"ToggleYellowRed", SlotOf(&ILed::ToggleYellowRed), 14},
        {"SetSequence", SlotOf(&ILed::SetSequence), 15},
        {"GetColorProperty", SlotOf(&ILed::GetColorProperty), 16},
        {"Update", SlotOf(&ILed::Update), 17},
    };

    for (const auto& row : rows)
        EXPECT_EQ(row.slot, row.expected) << row.operation;
}

TEST(ILed, IsAPureInterface) {
    EXPECT_TRUE(std::is_abstract_v<ILed>);
    EXPECT_EQ(sizeof(ILed), sizeof(System::Object));
}

TEST(ILed, LeavesTheDirectOperationsToTheLedOfTheBoard) {
    EXPECT_EQ(SlotOf(&Led::SetGreenRedYellow), -1);
    EXPECT_EQ(SlotOf(&Led::SetColorProperty), -1);
}
