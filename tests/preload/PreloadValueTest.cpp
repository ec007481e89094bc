// SPDX-License-Identifier: Apache-2.0
// Programs with the preloaded library and open value files.
#include <algorithm>
#include <cerrno>
#include <memory>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/preload/PreloadedRun.h"

namespace VelrixBoard::Preload {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

class PreloadValueTest : public testing::Test {
protected:
    std::string Step(const std::string& step, const std::string& argument = "") {
        return StepOnBoard(board, step, argument);
    }
    PreloadedRun Shell(const std::string& script) { return RunOnBoard(board, {"/bin/sh", "-c", script}); }

    const TestSupport::TemporaryFolder folder;
    StandInBoard board{folder.Path()};
    const std::string output = StandInBoard::OUTPUT_PATH;
};

TEST_F(PreloadValueTest, WritesValuesInEveryWay) {
    EXPECT_EQ(Step("write"), "1 1 1 2 2 2 2 0 EINVAL\n"
                             "4096 EFAULT EINVAL EINVAL\n"
                             "EBADF EBADF 0 EINVAL EINVAL 0 0 EPERM EPERM EOPNOTSUPP 22 9 0 ENODEV\n");
    EXPECT_EQ(board.Log(), "open.0 write.0=1 write.0=0 write.0=1 write.0=0\\n write.0=0\\n write.0=0\\n write.0=1\\n "
                           "write.0=x write.0=4096 open.0");
}

TEST_F(PreloadValueTest, ReadsAndSeeks) {
    EXPECT_EQ(Step("read"), "0\n end \n EINVAL 2 0\n\n"
                            "2 1 part\n 4096 EINVAL 4096 9 EINVAL\n"
                            "2 0 EBADF 0\n"
                            "2 0 1026 1 0 0\n");
}

TEST_F(PreloadValueTest, KnowsCopiesOfADescriptor) {
    EXPECT_EQ(Step("duplicate"), "1 1 1 1 EINVAL EBADF\n"
                                 "1 1 0 EBADF 1\n"
                                 "7 1\n");
    EXPECT_EQ(board.Log(), "open.0 write.0=1 write.0=0 write.0=1 write.0=0 write.0=x write.0=1 write.0=0 write.0=x "
                           "write.0=1");
}

TEST_F(PreloadValueTest, KeepsItsConnectionsOutOfTheWay) {
    EXPECT_EQ(Step("connections"), "3 3\n"
                                   "3 1 1\n"
                                   "EBADF EBADF EBADF 0 1 1\n"
                                   "1 1 1 0 1\n"
                                   "4 5\n");
    EXPECT_EQ(RunOnBoard(board, {"/bin/ls", "/proc/self/fd"}).output, "0\n1\n2\n3\n");
}

TEST_F(PreloadValueTest, KnowsDescriptorsOfAnyNumber) {
    EXPECT_EQ(Step("high numbers"), "3000 1\n");
    EXPECT_EQ(board.Log(), "open.0 write.0=1");
}

TEST_F(PreloadValueTest, ServesStreams) {
    EXPECT_EQ(Step("streams"), "1 0\n"
                               "EINVAL 1\n"
                               "1 0 1 1 0\n"
                               "1 1\n 0 1 0\n"
                               "1 0 EACCES EEXIST EINVAL\n"
                               "1 1 0\n");
    EXPECT_EQ(board.LogOf(12), "open.0 write.0=1\\n open.0 write.0=junk write.0=0 write.0=1 open.0 write.0=0 open.1 "
                               "write.1=1 open.1 past.1=0");
    EXPECT_EQ(Step("standard output"), "10EINVAL1\n");
    EXPECT_EQ(Step("iostreams"), "1 0 1 0\n");
}

// Inherited across exec.
TEST_F(PreloadValueTest, ServesStandardStreamsOfProgramsTheyAreGivenTo) {
    PreloadedRun run = Shell("/bin/echo 1 > " + output + " && /usr/bin/printf 0 > " + output);
    EXPECT_EQ(run.status, 0) << run.All();
    run = Shell("/bin/echo junk > " + output);
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.errors, "/bin/echo: write error: Invalid argument\n");
    EXPECT_EQ(board.Log(), "open.0 write.0=1\\n open.0 write.0=0 open.0 write.0=junk\\n");

    EXPECT_EQ(
        Shell("echo 1 > " + output + "; /bin/cat < " + output + "; read level < " + output + "; echo $level").output,
        "1\n1\n");
    EXPECT_EQ(Shell("echo 0 | /usr/bin/tee " + output + "; /bin/cat /dev/stdin < " + output).output, "0\n0\n");
    EXPECT_EQ(Shell("exec 9> " + output + "; /bin/sh -c 'echo 1 >&9'; /bin/sh -c 'echo junk >&9' 2>/dev/null || cat " +
                    output)
                  .output,
              "1\n");
    EXPECT_EQ(Shell("echo 0 > " + output + "; (echo 1 > /dev/stdout) > " + output + "; cat " + output).output, "1\n");
}

// By a shell whose builtins print to stdout.
TEST_F(PreloadValueTest, ServesStandardStreamsThatBecomeValueFiles) {
    const PreloadedRun run =
        RunOnBoard(board, {"/bin/bash", "-c",
                           "echo 1 > $0; echo junk > $0; echo $?; exec 5> $0; echo 0 >&5; echo shown; exec > $0; "
                           "echo 1; printf junk; echo $? >&2",
                           output});
    EXPECT_EQ(run.output, "1\nshown\n");
    EXPECT_THAT(run.errors, HasSubstr("echo: write error: Invalid argument\n"));
    EXPECT_THAT(run.errors, testing::EndsWith("\n1\n"));
    EXPECT_EQ(board.Log(),
              "open.0 write.0=1\\n open.0 write.0=junk\\n open.0 write.0=0\\n open.0 write.0=1\\n write.0=junk");
    EXPECT_EQ(Step("streams that come and go"), "1 EINVAL 0 0\nback again\n");
}

TEST_F(PreloadValueTest, FailsAsTheBoardSays) {
    board.Break(StandInBoard::OUTPUT, EIO);
    PreloadedRun run = Shell("/bin/echo 1 > " + output + "; cat " + output);
    EXPECT_EQ(run.errors, "/bin/echo: write error: Input/output error\ncat: " + output + ": Input/output error\n");
    board.Break(StandInBoard::OUTPUT, EACCES);
    EXPECT_THAT(Shell("cat " + output).errors, HasSubstr("Permission denied"));
}

TEST_F(PreloadValueTest, WaitsWithPoll) {
    EXPECT_EQ(Step("poll"), "1:f 1:8 2:9:0:4:0 0 1:5 0:0 1:4\n"
                            "1 1\n"
                            "1:a 1\n"
                            "1 1\n");
}

TEST_F(PreloadValueTest, WaitsWithSelect) {
    EXPECT_EQ(Step("select"), "3:111 1:001 0 2:110 0:000 2:1001\n"
                              "1:001 1\n"
                              "1 1\n");
}

TEST_F(PreloadValueTest, WaitsWithEpoll) {
    EXPECT_EQ(Step("epoll"), "0 EEXIST 1:b=11 0 1:1=11 0 0\n"
                             "1:a=13 1 0 0 1:4=14 0 0 1:4=15\n"
                             "0 0 1:1=16 0 0 ENOENT 0\n"
                             "0 0 1 0 0 1:c=18\n"
                             "all\n");
}

TEST_F(PreloadValueTest, ReadsAgainWhatChangedAtTheLastMoment) {
    board.ChangeAfterRead(StandInBoard::INPUT, 2);
    EXPECT_EQ(Step("read late"), "1\n1\n 2\n");
}

TEST_F(PreloadValueTest, ReadsAgainAtAnOffset) {
    board.ChangeAfterRead(StandInBoard::INPUT, 2);
    EXPECT_EQ(Step("read late", "at"), "1\n1\n 0\n");
}

TEST_F(PreloadValueTest, LosesNoWriteOfManyThreads) {
    EXPECT_EQ(Step("threads"), "0\n");
    const std::string log = board.Log();
    EXPECT_EQ(std::count(log.begin(), log.end(), '='), 8 * 200);
}

TEST_F(PreloadValueTest, StopsWaitingWhenASignalComes) {
    board.Hold(StandInBoard::OUTPUT);
    EXPECT_EQ(Step("interrupt"), "EINTR 1\n");
    const std::string log = board.Log();
    EXPECT_THAT(log, HasSubstr(" held.0"));
    EXPECT_THAT(log, HasSubstr(" cancel"));
    EXPECT_THAT(log, testing::Not(HasSubstr("write.0")));
}

TEST_F(PreloadValueTest, LetsAThreadBeCancelledThatWaits) {
    board.Hold(StandInBoard::OUTPUT);
    EXPECT_EQ(Step("cancel"), "cancelled 1 1\n\n");
}

TEST_F(PreloadValueTest, NeedsLittleStack) {
    EXPECT_EQ(Step("small stack"), "1 -1 -1 -1 -1 0\n");
}

TEST_F(PreloadValueTest, TakesANewConnectionForOneThatIsLost) {
    EXPECT_EQ(Step("lose connections"), "1 1 1\n1 0\n");
    board.Behave(StandInBoard::Manner::CLOSE_AFTER_ANSWER);
    EXPECT_EQ(Step("lose connections"), "1 1 1\n1 0\n");
    EXPECT_EQ(board.Log(), "open.0 write.0=1 write.0=0 write.0=1 write.0=0 open.0 write.0=1 write.0=0 write.0=1 "
                           "write.0=0");
}

TEST_F(PreloadValueTest, DoesNotRepeatWhatTheBoardMayHaveDone) {
    board.Behave(StandInBoard::Manner::CLOSE_FOR_ANSWER);
    EXPECT_EQ(Shell("/bin/echo 1 > " + output).errors, "/bin/echo: write error: No such device\n");
    EXPECT_EQ(board.Log(), "open.0 write.0=1\\n");
}

TEST_F(PreloadValueTest, SaysThatTheDeviceIsGoneWithoutABoard) {
    auto gone = std::make_unique<StandInBoard>(folder.Path("gone"));
    const std::string list = gone->List();
    gone.reset();
    const PreloadedRun run = RunPreloaded({PRELOADED_STEPS, "try all"}, {std::string("LD_PRELOAD=") + PRELOADED_LIBRARY,
                                                                         std::string(LIST_VARIABLE) + "=" + list});
    EXPECT_THAT(run.output, StartsWith("ENODEV "));
}

} // namespace
} // namespace VelrixBoard::Preload
