// SPDX-License-Identifier: Apache-2.0
#include "board/views/LedPattern.h"

#include <gtest/gtest.h>

namespace VelrixBoard {
namespace {

using namespace std::chrono_literals;

struct Colored {
    const char* color;
    BoardTime length;
};

// What is printed of these colours, one after the other, and of one more that begins then.
std::string Printed(LedPattern& pattern, const std::vector<Colored>& colors, const char* last,
                    BoardTime begin = BoardTime::zero()) {
    std::string printed;
    const auto take = [&](const char* color) {
        const std::string text = pattern.Take(color, begin);
        printed += text.empty() ? "" : text + "; ";
    };
    for (const Colored& each : colors) {
        take(each.color);
        begin += each.length;
    }
    take(last);
    return printed;
}

TEST(LedPatternTest, NamesAPatternAfterTwoEqualPeriods) {
    const struct {
        std::vector<Colored> period;
        const char* text; // after two periods
    } rows[] = {
        {{{"green", 500ms}, {"off", 500ms}}, "green; off; green; off; flashing green, 500 ms; "},
        {{{"off", 900ms}, {"red", 100ms}}, "off; red; off; red; flashing red, 100 ms on, 900 ms off; "},
        {{{"green", 250ms}, {"red", 250ms}}, "green; red; green; red; alternating green and red, 250 ms; "},
        {{{"green", 250ms}, {"red", 1s}}, "green; red; green; red; alternating green 250 ms and red 1000 ms; "},
        {{{"yellow", 15us}, {"off", 2500us}}, "yellow; off; yellow; off; flashing yellow, 0.015 ms; "},
        {{{"red", 100ms}, {"off", 100ms}, {"red", 100ms}, {"off", 700ms}},
         "red; off; red; off; red; off; red; off; repeating red 100 ms, off 100 ms, red 100 ms, off 700 ms; "},
    };
    for (const auto& row : rows) {
        LedPattern pattern;
        std::vector<Colored> colors = row.period;
        colors.insert(colors.end(), row.period.begin(), row.period.end());

        EXPECT_EQ(Printed(pattern, colors, row.period[0].color), row.text);
    }
}

TEST(LedPatternTest, NamesNothingThatDoesNotRepeat) {
    const std::vector<Colored> rows[] = {
        {{"green", 500ms}, {"off", 500ms}, {"green", 500ms}, {"off", 601ms}},
        {{"green", 500ms}, {"off", 500ms}, {"red", 500ms}, {"off", 500ms}},
        {{"green", 30ms}, {"off", 30ms}, {"green", 46ms}, {"off", 30ms}},
    };
    for (const std::vector<Colored>& row : rows) {
        LedPattern pattern;
        std::string expected;
        for (const Colored& each : row)
            expected += std::string(each.color) + "; ";

        EXPECT_EQ(Printed(pattern, row, "green"), expected + "green; ");
        EXPECT_EQ(pattern.Due(), std::nullopt);
    }
}

class FlashingLed : public testing::Test {
protected:
    FlashingLed() {
        (void)Printed(pattern, {{"green", 500ms}, {"off", 500ms}, {"green", 500ms}, {"off", 500ms}}, "green");
    }
    LedPattern pattern; // green since 2 s
};

TEST_F(FlashingLed, PrintsNothingWhileItGoesOn) {
    EXPECT_EQ(Printed(pattern, {{"off", 600ms}, {"green", 400ms}, {"off", 500ms}}, "green", 2500ms), "");
}

TEST_F(FlashingLed, PrintsTheColourThatEndsIt) {
    EXPECT_EQ(Printed(pattern, {{"red", 500ms}, {"off", 500ms}}, "green", 2500ms), "red; off; green; ");
}

TEST_F(FlashingLed, PrintsAChangeThatComesTooEarlyOrTooLate) {
    LedPattern late = pattern;
    EXPECT_EQ(pattern.Take("off", 2399ms), "off");
    EXPECT_EQ(late.Take("off", 2601ms), "off");
}

TEST_F(FlashingLed, PrintsThatItStopped) {
    EXPECT_EQ(pattern.Due(), 2600ms);

    EXPECT_EQ(pattern.Stop(), "green since 2.000 s");

    EXPECT_EQ(pattern.Due(), std::nullopt);
    EXPECT_EQ(pattern.Take("off", 2700ms), "off");
}

TEST_F(FlashingLed, PrintsANewPattern) {
    EXPECT_EQ(Printed(pattern, {{"off", 100ms}, {"green", 100ms}, {"off", 100ms}}, "green", 2100ms),
              "off; green; off; flashing green, 100 ms; ");
}

} // namespace
} // namespace VelrixBoard
