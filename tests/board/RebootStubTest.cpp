// SPDX-License-Identifier: Apache-2.0
#include "board/virtual/RebootStub.h"

#include <gtest/gtest.h>

namespace VelrixBoard {
namespace {

TEST(RebootStubTest, RecordsACallInOneLine) {
    const struct {
        std::vector<std::string_view> arguments;
        const char* line;
    } rows[] = {{{"/sbin/reboot"}, "/sbin/reboot\n"},
                {{"reboot", "-f", "now"}, "reboot -f now\n"},
                {{"reboot", "a b", "c\\d", "e\nf"}, "reboot a\\ b c\\\\d e\\nf\n"},
                {{"reboot", "", "x"}, "reboot  x\n"},
                {{}, "\n"}};
    for (const auto& row : rows)
        EXPECT_EQ(RebootStub::Record(row.arguments), row.line);
}

TEST(RebootStubTest, StandsInForEveryCommandThatEndsTheMachine) {
    std::string text;
    for (const Placement& place : RebootStub::Placements("/program", "/record"))
        text += place.inside.string() + "=" + place.outside.string() + " ";

    EXPECT_EQ(text, "/dev/velrix-board/reboot=/record /sbin/reboot=/program /sbin/halt=/program "
                    "/sbin/poweroff=/program /sbin/shutdown=/program "
                    "/usr/sbin/reboot=/program /usr/sbin/halt=/program /usr/sbin/poweroff=/program "
                    "/usr/sbin/shutdown=/program ");
}

TEST(RebootStubTest, IsNotCalledAsAnyOtherProgram) {
    EXPECT_FALSE(RebootStub::IsCalled());
}

} // namespace
} // namespace VelrixBoard
