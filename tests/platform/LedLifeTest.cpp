// SPDX-License-Identifier: Apache-2.0
// The LEDs when a process forks, executes another program or ends; docs/tracing.md has the table.
#include <csignal>
#include <ostream>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/PrivateBoard.h"

namespace {

using TestSupport::PrivateBoard;

struct Way {
    const char* way;
    const char* event;
    int exitCode;
    const char* output;
    const char* left; // the final state of MS and NS
};

constexpr Way WAYS[] = {
    // A child's event shows at once. The parent does not have it, and its end switches the LEDs off.
    {"fork", "fatal", 0, "after the child: red red\n", "off off"},
    {"fork", "calm", 0, "after the child: green green\n", "off off"},
    // A child that calls exit shuts the board down under its parent.
    {"fork and exit", "fatal", 0, "after the child: red red\n", "red red"},
    {"fork and exit", "calm", 0, "after the child: off off\n", "off off"},
    {"exec", "fatal", 0, "executed: red red\n", "red red"},
    {"exec", "calm", 0, "executed: green green\n", "green green"},
    {"return", "fatal", 0, "", "red red"},
    {"return", "calm", 0, "", "off off"},
    {"exit", "fatal", 0, "", "red red"},
    {"exit", "calm", 0, "", "off off"},
    // exit destroys no local variable: a pointer to the board in one prevents the shutdown.
    {"exit from a function that holds the board", "calm", 0, "", "green green"},
    {"_exit", "fatal", 0, "", "red red"},
    {"_exit", "calm", 0, "", "green green"},
    {"abort", "fatal", 128 + SIGABRT, "", "red red"},
    {"abort", "calm", 128 + SIGABRT, "", "green green"},
    {"static", "fatal", 0, "", "red red"},
    {"static", "calm", 0, "", "off off"},
};

std::ostream& operator<<(std::ostream& stream, const Way& way) {
    return stream << way.way << " " << way.event;
}

std::string Color(const PrivateBoard& board, const std::string& led) {
    const std::string levels{board.Level("/sys/class/leds/" + led + "Grn/brightness"),
                             board.Level("/sys/class/leds/" + led + "Red/brightness")};
    return levels == "00" ? "off" : levels == "10" ? "green" : levels == "01" ? "red" : levels;
}

class LedLife : public testing::TestWithParam<Way> {};

TEST_P(LedLife, LeavesRedLedsAfterAFatalEventOfTheProcess) {
    const Way& way = GetParam();
    PrivateBoard board;

    const auto result = board.Run({LED_LIFE_PROGRAM, way.way, way.event});

    EXPECT_EQ(result.exitCode, way.exitCode) << result.errors;
    EXPECT_EQ(result.output, way.output);
    EXPECT_EQ(Color(board, "ledGwSts") + " " + Color(board, "ledEthSts"), way.left);
}

INSTANTIATE_TEST_SUITE_P(Ways, LedLife, testing::ValuesIn(WAYS));

} // namespace
