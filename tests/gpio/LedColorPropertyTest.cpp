// SPDX-License-Identifier: Apache-2.0
#include <velrix/gpio/LedColorProperty.h>

#include <limits>
#include <type_traits>

#include <gtest/gtest.h>

#include "tests/support/AllocationFailure.h"

using Velrix::Gpio::LedColorProperty;

TEST(LedColorProperty, KeepsColorAndDuration) {
    const auto step = LedColorProperty::Create(LedColorProperty::RED, 500);

    EXPECT_EQ(step->Color, LedColorProperty::RED);
    EXPECT_EQ(step->Duration, 500u);
}

TEST(LedColorProperty, NumbersTheColors) {
    EXPECT_EQ(LedColorProperty::OFF, 0);
    EXPECT_EQ(LedColorProperty::GREEN, 1);
    EXPECT_EQ(LedColorProperty::RED, 2);
    EXPECT_EQ(LedColorProperty::YELLOW, 3);
    EXPECT_EQ(sizeof(LedColorProperty::Color_e), 4u);
}

TEST(LedColorProperty, AcceptsAnyCodeAndAnyDuration) {
    const auto unknown = LedColorProperty::Create(static_cast<LedColorProperty::Color_e>(7), 0);
    const auto extreme = LedColorProperty::Create(static_cast<LedColorProperty::Color_e>(0xFFFFFFFFu),
                                                  std::numeric_limits<unsigned long long>::max());

    EXPECT_EQ(unknown->Color, 7);
    EXPECT_EQ(unknown->Duration, 0u);
    EXPECT_EQ(static_cast<unsigned>(extreme->Color), 0xFFFFFFFFu);
    EXPECT_EQ(extreme->Duration, std::numeric_limits<unsigned long long>::max());
}

TEST(LedColorProperty, MakesDistinctObjectsThatAreNotEqual) {
    const auto first = LedColorProperty::Create(LedColorProperty::RED, 500);
    const auto second = LedColorProperty::Create(LedColorProperty::RED, 500);

    EXPECT_NE(first, second);
    EXPECT_FALSE(first->Equals(second));
    EXPECT_TRUE(first->Equals(first));
}

TEST(LedColorProperty, HasNoTextOfItsOwn) {
    EXPECT_EQ(LedColorProperty::Create(LedColorProperty::RED, 500)->ToString(), "Velrix::Gpio::LedColorProperty");
}

TEST(LedColorProperty, CannotBeChanged) {
    EXPECT_TRUE(std::is_const_v<decltype(LedColorProperty::Color)>);
    EXPECT_TRUE(std::is_const_v<decltype(LedColorProperty::Duration)>);
}

TEST(LedColorProperty, MakesEachSteadyColorOnce) {
    const struct {
        const char* name;
        System::Lazy<std::shared_ptr<LedColorProperty>>& holder;
        LedColorProperty::Color_e color;
    } rows[] = {
        {"off", *LedColorProperty::OFF_CONST, LedColorProperty::OFF},
        {"green", *LedColorProperty::GREEN_CONST, LedColorProperty::GREEN},
        {"red", *LedColorProperty::RED_CONST, LedColorProperty::RED},
        {"yellow", *LedColorProperty::YELLOW_CONST, LedColorProperty::YELLOW},
    };

    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);

        const auto step = row.holder.Value();

        EXPECT_EQ(step->Color, row.color);
        EXPECT_EQ(step->Duration, 0u);
        EXPECT_EQ(row.holder.Value(), step);
    }
}

TEST(LedColorProperty, SurvivesEveryAllocationFailure) {
    const long failures =
        TestSupport::FailEachAllocation([] { LedColorProperty::Create(LedColorProperty::GREEN, 100); });

    EXPECT_EQ(failures, 2); // the step and its owner
}
