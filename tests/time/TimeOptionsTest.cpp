// SPDX-License-Identifier: Apache-2.0
#include "board/time/TimeOptions.h"

#include <gtest/gtest.h>

namespace VelrixBoard {
namespace {

TEST(TimeOptionsTest, TakesTheMachinesTimeVirtualTimeAndPaces) {
    const struct {
        const char* text;
        bool isVirtual;
        std::optional<double> pace;
    } rows[] = {
        {"real", false, std::nullopt}, {"virtual", true, std::nullopt}, {"1x", true, 1.0}, {"0.001x", true, 0.001},
        {"2.5x", true, 2.5},           {"100000x", true, 100'000.0}};
    for (const auto& row : rows) {
        const auto options = ParseTimeOptions(row.text);
        ASSERT_TRUE(options) << row.text;
        EXPECT_EQ(options->isVirtual, row.isVirtual) << row.text;
        EXPECT_EQ(options->pace, row.pace) << row.text;
    }
}

TEST(TimeOptionsTest, RejectsOtherTexts) {
    for (const char* text : {"", "x", "0x", "-1x", "0.0009x", "100001x", "5", "5X", "1e2x", "nanx", "infx", "5xx",
                             " 5x", "Virtual", "virtual "})
        EXPECT_FALSE(ParseTimeOptions(text)) << text;
}

} // namespace
} // namespace VelrixBoard
