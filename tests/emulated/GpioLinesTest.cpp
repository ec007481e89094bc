// SPDX-License-Identifier: Apache-2.0
#include "board/emulated/GpioLines.h"

#include <fstream>
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "board/base/BoardError.h"
#include "board/model/BoardState.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using VelrixBoard::BoardError;
using VelrixBoard::BoardModel;
using VelrixBoard::BoardState;
using VelrixBoard::CpioArchive;
using VelrixBoard::GpioLines;

std::size_t SignalOf(const BoardState& state, const std::string& name) {
    for (std::size_t i = 0; i < state.Count(); ++i)
        if (state.Name(i) == name)
            return i;
    ADD_FAILURE() << name;
    return 0;
}

TEST(GpioLines, GivesEverySignalOfTheBoardALineOfItsOwnInTheFirstRegister) {
    const BoardModel model;
    const BoardState state(model);

    const GpioLines lines(LINES_FILE, model);

    std::set<unsigned> numbers;
    for (std::size_t i = 0; i < state.Count(); ++i) {
        ASSERT_TRUE(lines.Line(i)) << state.Name(i);
        EXPECT_LT(*lines.Line(i), 32U) << state.Name(i);
        EXPECT_TRUE(numbers.insert(*lines.Line(i)).second) << state.Name(i);
    }
    EXPECT_EQ(lines.Line(SignalOf(state, "OXBO_RESET1_N")), 9U);
    EXPECT_EQ(lines.Line(SignalOf(state, "NS.red")), 7U);
}

TEST(GpioLines, FollowsTheSettingsFile) {
    BoardModel model;
    model.Apply("oxbo_pin", "reset_n", "/var/dev/gpio-outputs/qorResetN/value"); // another line of the device
    model.Apply("qor_pin", "reset_n", "/opt/reset");                             // a path of one's own
    model.Apply("oxbo_pin", "ramloader_enable", "/dev/full");                    // none of the device's lines
    const BoardState state(model);

    const GpioLines lines(LINES_FILE, model);

    EXPECT_EQ(lines.Line(SignalOf(state, "OXBO_RESET1_N")), 11U);
    EXPECT_EQ(lines.Line(SignalOf(state, "QOR_RESET0_N")), 11U);
    EXPECT_FALSE(lines.Line(SignalOf(state, "OXBO_RL")));
    CpioArchive archive;
    lines.AddLinks(archive);
    CpioArchive expected;
    expected.AddLink("/opt/reset", "/var/dev/gpio-outputs/qorResetN/value");
    EXPECT_EQ(archive.Finish(), expected.Finish());
}

TEST(GpioLines, RefusesPathsThatTheMachineCannotHave) {
    for (const char* path : {"/sys/class/leds/another/brightness", "relative", ""}) {
        BoardModel model;
        model.Apply("led", "module_status_red", path);
        const GpioLines lines(LINES_FILE, model);
        CpioArchive archive;

        EXPECT_THROW(lines.AddLinks(archive), BoardError) << path;
    }
}

TEST(GpioLines, RefusesTablesThatAreMissingOrLackALine) {
    const TestSupport::TemporaryFolder folder;
    EXPECT_THROW(GpioLines(folder.Path("absent"), BoardModel()), BoardError);

    std::ofstream(folder.Path("lines")) << "0 led ledGwStsGrn\n";
    EXPECT_THROW(GpioLines(folder.Path("lines"), BoardModel()), BoardError);
}

} // namespace
