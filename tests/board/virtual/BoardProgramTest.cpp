// SPDX-License-Identifier: Apache-2.0
// Programs of other kinds than the libraries' own, on real boards: each finds what it finds on the device.
#include <csignal>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/board/CommandRun.h"
#include "tests/support/PrivateBoard.h"

namespace VelrixBoard {
namespace {

using testing::HasSubstr;
using TestSupport::BoardResult;
using TestSupport::PrivateBoard;

TEST(BoardProgramTest, UsesValueFilesInTwoHundredWays) {
    std::ifstream expected(BOARD_SAMPLES "/value-files.txt");

    const BoardResult end = PrivateBoard().Run({VALUE_FILE_PROBE});

    EXPECT_EQ(end.exitCode, 0) << end.errors;
    EXPECT_EQ(end.output, std::string(std::istreambuf_iterator<char>(expected), {}));
}

TEST(BoardProgramTest, UsesStreamsDirectoriesAndCommands) {
    PrivateBoard board;

    const BoardResult end = board.Run({STREAM_PROGRAM});

    EXPECT_EQ(end.exitCode, 0) << end.errors;
    EXPECT_EQ(end.output, R"(ofstream 1 1| 1 0| junk 0 input 0 missing 0
fstream 1 1
fopen ok 1| 1 EINVAL 11 10 EACCES freopen ok 1| dprintf 0| fdopen ok 1| EBADF
leds 8 ledEthStsGrn ledLinkAct2Yel size 4096 mode 444 "/var/dev/gpio-inputs/oxboMod1/value"
glob 0 9 /var/dev/gpio-inputs/oxboIrqN/value
scandir 4 0 11
relative "/var/dev/gpio-outputs" 0| 0|
openat ok1 ENOENT
link /sys/class/leds/ledGwStsRed/brightness
mkstemp ok ok ok x ok ok ENOENT 1 ok ok
symlink 1| "/sys/class/leds/ledGwStsRed/brightness"
select 3111 ok 2110
builtin 1|0 program 0|0 junk 1|0 tee 1|1|0 cat 0|0
env 1|0 find 9|0 test 0 0 dd 10
system 0 0| spawn 7 inherited 5 1|
)");
    EXPECT_EQ(board.Written("/var/dev/gpio-outputs/qorResetN/value"), "10");
}

TEST(BoardProgramTest, RunsTheProgramOfTheReadme) {
    PrivateBoard board;

    board.Start({README_PROGRAM});

    // The power-up test, the module, and a LED that flashes by the loop.
    const std::string end = "MS.green 0\nMS.green 1\nMS.green 0\n";
    EXPECT_TRUE(PrivateBoard::WaitFor([&] { return board.Changes().ends_with(end); })) << board.Changes();
    board.Signal(SIGTERM);
    EXPECT_EQ(board.Wait().exitCode, 128 + SIGTERM);
    EXPECT_THAT(board.Changes(), HasSubstr("OXBO_RESET1_N 1\nOXBO_IRQ_N 0\n"));
}

} // namespace
} // namespace VelrixBoard
