// SPDX-License-Identifier: Apache-2.0
#include "board/control/ControlPipe.h"

#include <string>

#include <fcntl.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "board/model/BoardModel.h"
#include "tests/panel/FakeControl.h"
#include "tests/support/TemporaryFolder.h"

namespace VelrixBoard {
namespace {

class ControlPipeTest : public testing::Test {
protected:
    // What the board does and says when it reads once.
    std::string Send(const std::string& text) {
        control.log.clear();
        said.clear();
        EXPECT_EQ(::write(writer.Get(), text.data(), text.size()), static_cast<ssize_t>(text.size()));
        pipe.Run(BoardTime(0));
        return control.log + said;
    }

    const TestSupport::TemporaryFolder folder;
    const BoardModel model;
    BoardState state{model};
    FakeControl control{state};
    std::string said;
    ControlPipe pipe{folder.Path("control"), state, control, [this](const std::string& text) { said += text + "\n"; }};
    const FileDescriptor writer{::open(folder.Path("control").c_str(), O_WRONLY | O_CLOEXEC)};
};

TEST_F(ControlPipeTest, ObeysLinesWhenTheyAreComplete) {
    EXPECT_EQ(Send("set OXBO_MOD_1=high\nset OXBO_MOD_1=low\n"), "drive OXBO_MOD_1 1\ndrive OXBO_MOD_1 0\n");
    EXPECT_EQ(Send("set OXBO_"), "");
    EXPECT_EQ(Send("MOD_1=1\nset OXBO_MOD_1=0\noxbo-ready-after never\nwa"),
              "drive OXBO_MOD_1 1\ndrive OXBO_MOD_1 0\nready after never\n");
    EXPECT_EQ(control.DriverOf(state.Find("OXBO_MOD_1").value()), InputDriver::PIPE);
    EXPECT_EQ(Send("lk\n"), "control \"walk\": there are set NAME=LEVEL, fault NAME=FAULT and oxbo-ready-after TIME\n");
}

TEST_F(ControlPipeTest, LeavesOutTheWholeOfALineThatIsTooLong) {
    const std::string longest = "set OXBO_MOD_1=" + std::string(4096 - 15, '1');
    EXPECT_EQ(Send(longest + "\n"), "control \"" + longest + "\": a level is low or high\n");

    EXPECT_EQ(Send(std::string(4096, 'x')), "");
    EXPECT_EQ(Send(std::string(4096, 'x')), "");
    EXPECT_EQ(Send("set OXBO_MOD_1=1\nset OXBO_MOD_1=0\n"),
              "drive OXBO_MOD_1 0\ncontrol: a line of more than 4096 bytes is no command; left out\n");
}

// A script that writes as fast as the board reads must not hold the board.
TEST_F(ControlPipeTest, LeavesWhatIsWrittenMeanwhileToTheNextTurn) {
    ASSERT_GE(::fcntl(writer.Get(), F_SETPIPE_SZ, 131072), 131072);
    const std::string line = "set OXBO_MOD_1=1";
    std::string text;
    while (text.size() < 131072)
        text += line + std::string(63 - line.size(), ' ') + "\n";

    const std::string first = Send(text);

    std::size_t answers = 0;
    for (const char c : first)
        answers += c == '\n' ? 1 : 0;
    EXPECT_EQ(answers, 4 * 4096U / 64);
}

} // namespace
} // namespace VelrixBoard
