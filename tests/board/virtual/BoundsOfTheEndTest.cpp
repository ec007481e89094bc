// SPDX-License-Identifier: Apache-2.0
// How a board ends that is asked to, and what it still says and shows.
#include <algorithm>
#include <csignal>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "board/base/FileDescriptor.h"
#include "tests/board/CommandRun.h"
#include "tests/board/virtual/RunningBoard.h"
#include "tests/support/TemporaryFolder.h"

namespace VelrixBoard {
namespace {

using testing::HasSubstr;
using Stream = RunningBoard::Stream;

class BoundsOfTheEndTest : public testing::TestWithParam<std::string> {
protected:
    // Runs the script until it has made the file /mnt/share/ready.
    void Start(const std::string& script, const std::vector<std::string>& options = {}) {
        std::vector<std::string> all = {"--isolation", GetParam()};
        all.insert(all.end(), options.begin(), options.end());
        board = std::make_unique<RunningBoard>(Stream::FILE, true, all, script);
        ASSERT_TRUE(board->WaitFor([&] { return std::filesystem::exists(board->Path("share/ready")); }));
    }

    std::unique_ptr<RunningBoard> board;
};

INSTANTIATE_TEST_SUITE_P(Board, BoundsOfTheEndTest, testing::ValuesIn(Isolations()),
                         [](const auto& test) { return test.param; });

TEST_P(BoundsOfTheEndTest, LeavesAProgramItsTimeToEnd) {
    Start("trap 'touch /mnt/share/trapped; read go < /mnt/share/go; exit 9' TERM; mkfifo /mnt/share/go; "
          "touch /mnt/share/ready; while :; do sleep 0.01; done");

    // As timeout(1) does.
    board->Signal(SIGTERM);
    board->Signal(SIGTERM);
    EXPECT_TRUE(board->WaitFor([&] { return std::filesystem::exists(board->Path("share/trapped")); }));
    const FileDescriptor go(::open(board->Path("share/go").c_str(), O_RDWR | O_CLOEXEC));
    ASSERT_EQ(::write(go.Get(), "\n", 1), 1);

    const auto end = board->Wait();
    ASSERT_TRUE(end);
    EXPECT_EQ(WEXITSTATUS(end->status), 9);
    EXPECT_EQ(board->Errors(), "");
}

#ifndef VELRIX_IS_SANITIZED // by which it might take too long
TEST_P(BoundsOfTheEndTest, KillsWhatDoesNotEndByTheSecondRequest) {
    Start("trap '' TERM; touch /mnt/share/ready; while :; do sleep 1000; done");

    board->SignalTwice();
    const auto end = board->Wait();

    ASSERT_TRUE(end);
    EXPECT_TRUE(WIFSIGNALED(end->status));
    EXPECT_EQ(WTERMSIG(end->status), SIGKILL);
    EXPECT_EQ(board->Errors(), "velrix-board: kills all that runs on the board (a second SIGTERM)\n");
    EXPECT_FALSE(std::filesystem::exists(board->Path("control")));
}
#endif

TEST_P(BoundsOfTheEndTest, KillsWhatDoesNotEndByTheFirstRequest) {
    Start("trap '' TERM; touch /mnt/share/ready; while :; do sleep 1000; done");
    board->Signal(SIGTERM);

    const auto end = board->Wait();

    ASSERT_TRUE(end);
    EXPECT_TRUE(WIFSIGNALED(end->status));
    EXPECT_EQ(WTERMSIG(end->status), SIGKILL);
    EXPECT_EQ(board->Errors(), "velrix-board: kills all that runs on the board (7 s after SIGTERM)\n");
    EXPECT_FALSE(std::filesystem::exists(board->Path("control")));
}

TEST_P(BoundsOfTheEndTest, KillsWhatAProgramLeavesRunningThatEndedOnRequest) {
    Start("trap 'exit 5' TERM; nice sh -c \"trap '' TERM; while :; do :; done\" & touch /mnt/share/ready; "
          "while :; do sleep 0.01; done");
    board->Signal(SIGTERM);

    const auto end = board->Wait();

    ASSERT_TRUE(end);
    EXPECT_EQ(WEXITSTATUS(end->status), 5);
    EXPECT_EQ(board->Errors(), "velrix-board: kills what the program left running (SIGTERM)\n");
}

TEST_P(BoundsOfTheEndTest, EndsByOneRequestWithoutAReader) {
    RunningBoard unread(Stream::TERMINAL, false, {"--terminal", "--isolation", GetParam()},
                        "yes & touch /mnt/share/ready; while :; do sleep 0.01; done");
    ASSERT_TRUE(unread.WaitFor([&] { return std::filesystem::exists(unread.Path("share/ready")); }));
    unread.Signal(SIGTERM);

    const auto end = unread.Wait();

    ASSERT_TRUE(end);
    EXPECT_TRUE(WIFSIGNALED(end->status));
    EXPECT_EQ(WTERMSIG(end->status), SIGTERM);
}

// Who tells the board to end does not mean the program alone.
TEST_P(BoundsOfTheEndTest, DoesNotRunAProgramAnewThatWasToldToEnd) {
    Start("test -e /mnt/share/ready && touch /mnt/share/again; trap '/sbin/reboot; exit 0' TERM; "
          "touch /mnt/share/ready; while :; do sleep 0.01; done",
          {"--on-reboot", "restart"});
    board->Signal(SIGTERM);

    const auto end = board->Wait();

    ASSERT_TRUE(end);
    EXPECT_EQ(end->status, 0);
    EXPECT_FALSE(std::filesystem::exists(board->Path("share/again")));
}

TEST_P(BoundsOfTheEndTest, KillsAtOnceWhatOutlivesTheProgram) {
    Start("trap '' TERM; nice sh -c 'while :; do :; done' & touch /mnt/share/ready; exit 3");

    board->Signal(SIGTERM);
    const auto end = board->Wait();

    ASSERT_TRUE(end);
    EXPECT_EQ(WEXITSTATUS(end->status), 3);
    EXPECT_THAT(board->Errors(), HasSubstr("velrix-board: kills what the program left running (SIGTERM)\n"));
}

TEST_P(BoundsOfTheEndTest, JudgesARunThatWasKilled) {
    const TestSupport::TemporaryFolder folder;
    folder.Write("scenario", "within 60min MS is green\n");
    Start("trap '' TERM; touch /mnt/share/ready; while :; do sleep 1000; done",
          {"--scenario", folder.Path("scenario")});

    board->Signal(SIGTERM);
    const auto end = board->Wait();

    ASSERT_TRUE(end);
    EXPECT_TRUE(WIFEXITED(end->status));
    EXPECT_EQ(WEXITSTATUS(end->status), 1);
    EXPECT_THAT(board->Errors(), HasSubstr("MS"));
}

// The rest of the output waits for its reader; who tells the board to end has waited long enough.
TEST_P(BoundsOfTheEndTest, EndsWithoutAReader) {
    // More than the terminal takes, and no more than finds room in the pipe to the board, and in the board.
    RunningBoard unread(Stream::TERMINAL, false, {"--terminal", "--isolation", GetParam()},
                        "trap '' TERM; yes | head -c 70000; touch /mnt/share/ready; exit 4");
    ASSERT_TRUE(unread.WaitFor([&] { return std::filesystem::exists(unread.Path("share/ready")); }));

    unread.Signal(SIGTERM);
    const auto end = unread.Wait();

    ASSERT_TRUE(end);
    EXPECT_EQ(WEXITSTATUS(end->status), 4);
}

TEST_P(BoundsOfTheEndTest, PrintsAllThatTheProgramPrinted) {
    RunningBoard terminal(Stream::TERMINAL, true, {"--terminal", "--isolation", GetParam()},
                          "seq 2000; printf end; exit 4");

    const auto end = terminal.Wait();

    ASSERT_TRUE(end);
    EXPECT_EQ(WEXITSTATUS(end->status), 4);
    std::size_t at = 0;
    for (int i = 1; i <= 2000 && at != std::string::npos; ++i)
        at = terminal.Errors().find(std::to_string(i) + "\r\n", at);
    EXPECT_NE(at, std::string::npos);
    EXPECT_NE(terminal.Errors().find("end\r\n", at), std::string::npos);
}

TEST_P(BoundsOfTheEndTest, OutlivesTheLimitForFiles) {
    const TestSupport::TemporaryFolder folder;
    const std::string directory = folder.Path("board");
    const CommandEnd end =
        CommandRun{{"sh", "-c", "ulimit -f 4; exec \"$@\"", "sh", VELRIX_BOARD_COMMAND, "run", "--isolation",
                    GetParam(), "--directory", directory, "--", "sh", "-c",
                    std::string("i=0; while [ $i -lt 300 ]; do i=$((i + 1)); printf $((i % 2)) > ") + LINE +
                        "; done; sh -c 'head -c 1M /dev/zero > /mnt/share/big' 2>/dev/null; echo $?; exit 3"}}
            .Run();

    if (GetParam() == "preload") {
        // What the program is preloaded with is larger.
        EXPECT_EQ(end.ExitCode(), 125);
        EXPECT_EQ(end.errors, "velrix-board: cannot write " + directory + "/names: File too large\n");
        return;
    }
    EXPECT_EQ(end.ExitCode(), 3);
    // The program gets the signal that the board ignores: 128 + SIGXFSZ.
    EXPECT_EQ(end.output, "153\n");
    for (const char* record : {"changes", "writes"}) {
        EXPECT_THAT(end.errors, HasSubstr("velrix-board: cannot write " + directory + "/" + record +
                                          ": File too large; the record ends here, the program runs on\n"));
        EXPECT_EQ(std::filesystem::file_size(directory + "/" + record), 2048U);
    }
    EXPECT_EQ(std::count(end.errors.begin(), end.errors.end(), '\n'), 2) << end.errors;
}

} // namespace
} // namespace VelrixBoard
