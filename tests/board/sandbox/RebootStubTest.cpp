// SPDX-License-Identifier: Apache-2.0
#include "board/sandbox/RebootStub.h"

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

TEST(RebootStubTest, KnowsWhatACallWouldDo) {
    using Effect = RebootStub::Effect;
    const struct {
        const char* call;
        Effect effect;
    } rows[] = {{"/sbin/reboot", Effect::RESTART},
                {"reboot -f", Effect::RESTART},
                {"reboot --halt", Effect::HALT},
                {"reboot -p", Effect::HALT},
                {"reboot -w", Effect::NONE},
                {"reboot --help", Effect::NONE},
                {"halt", Effect::HALT},
                {"/usr/sbin/halt --reboot", Effect::RESTART},
                {"poweroff -f", Effect::HALT},
                {"shutdown now", Effect::HALT},
                {"shutdown -r +5 see\\ you --help\\ me", Effect::RESTART},
                {"shutdown -h now", Effect::HALT},
                {"shutdown -c", Effect::NONE},
                {"shutdown -k now", Effect::NONE},
                {"a\\ name\\ of\\ its\\ own", Effect::RESTART},
                {"", Effect::RESTART}};
    for (const auto& row : rows)
        EXPECT_EQ(RebootStub::EffectOf(row.call), row.effect) << row.call;
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
