// SPDX-License-Identifier: Apache-2.0
// What commands show on a terminal only.
#include <csignal>
#include <fstream>
#include <iterator>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/board/Terminal.h"
#include "tests/tools/velrixctl/PlainDevice.h"

using testing::HasSubstr;
using TestSupport::PlainDevice;

namespace {

int CodeOf(int status) {
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

std::string Content(const std::string& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

} // namespace

TEST(LiveOutput, RedrawsTheTableOfLinesInPlace) {
    const PlainDevice device;
    Terminal terminal({VELRIXCTL, "pins", "--watch"});
    const std::string last = "/var/dev/gpio-outputs/qorResetN/value\x1b[K\r\n";
    ASSERT_THAT(terminal.ReadUntil(last), HasSubstr("OXBO_MOD_1         input   low      "));

    device.Write("/var/dev/gpio-inputs/oxboMod1/value", "1\n");
    const std::string redrawn = terminal.ReadUntil(last);
    terminal.Type("\x03");

    EXPECT_THAT(redrawn, testing::StartsWith("\x1b[9A"));
    EXPECT_THAT(redrawn, HasSubstr("OXBO_MOD_1         input   \x1b[32mhigh     \x1b[0m/var"));
    EXPECT_EQ(CodeOf(terminal.Wait()), 0);
}

TEST(LiveOutput, SaysHowToEndAPatternAndLeavesTheLedOff) {
    const PlainDevice device;
    device.Write("/sys/class/leds/ledGwStsGrn/brightness", "");
    Terminal terminal({VELRIXCTL, "led", "MS", "flashing-green"});
    ASSERT_THAT(terminal.ReadUntil("Ctrl-C\r\n"), HasSubstr("MS shows flashing-green until Ctrl-C\r\n"));

    terminal.Type("\x03");

    EXPECT_EQ(CodeOf(terminal.Wait()), 0);
    // Each write is behind the one before, as the file is no value file.
    const std::string writes = Content("/sys/class/leds/ledGwStsGrn/brightness");
    EXPECT_TRUE(writes.ends_with('0')) << writes;
}

TEST(LiveOutput, HasTheWidthOfTheTerminal) {
    Terminal terminal({"/bin/sh", "-c", "stty cols 70; " VELRIXCTL " help led"});

    const std::string help = terminal.ReadUntil("Show this help\r\n");

    EXPECT_THAT(help, HasSubstr("Shows a steady colour, or a pattern until Ctrl-C or for the time of\r\n--for.\r\n"));
    terminal.Wait();
}
