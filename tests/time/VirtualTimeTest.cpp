// SPDX-License-Identifier: Apache-2.0
// Programs on boards with virtual time. Each would wait far longer than a test may take.
#include <chrono>
#include <csignal>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/Isolation.h"
#include "tests/support/PrivateBoard.h"
#include "tests/support/TemporaryFolder.h"

namespace VelrixBoard {
namespace {

using testing::HasSubstr;
using testing::MatchesRegex;
using TestSupport::BoardResult;
using TestSupport::PrivateBoard;

constexpr const char* MACHINES_TIME = "a board with the machine's time cannot set its clock; use --time virtual";

BoardResult RunVirtual(const std::vector<std::string>& command, const std::string& time = "virtual") {
    PrivateBoard board;
    board.AddOption("--time", time);
    return board.Run(command);
}

// The name of a test of a step: "TimerFile" of "timer-file".
std::string NameOf(const char* step) {
    std::string name;
    bool isFirst = true;
    for (const char* c = step; *c != '\0'; isFirst = *c++ == '-')
        if (*c != '-')
            name += isFirst ? static_cast<char>(*c - 'a' + 'A') : *c;
    return name;
}

// A step of TimedSteps.cpp, what its calls give, and by how many milliseconds it may be longer than ten seconds: the
// processor time that it uses.
struct TimedStep {
    const char* name;
    const char* result;
    long most = 20;

    friend std::ostream& operator<<(std::ostream& out, const TimedStep& step) { return out << step.name; }
};

class TimedStepTest : public testing::TestWithParam<TimedStep> {};

TEST_P(TimedStepTest, WaitsTenSecondsByTheBoardsClock) {
    const BoardResult end = RunVirtual({TIMED_STEPS, GetParam().name});

    EXPECT_EQ(end.exitCode, 0);
    EXPECT_EQ(end.errors, "");
    std::istringstream output(end.output);
    std::string name, result;
    long took = 0;
    output >> name >> took >> std::ws;
    std::getline(output, result);
    EXPECT_EQ(result, GetParam().result) << end.output;
    EXPECT_GE(took, 10'000);
    EXPECT_LE(took, 10'000 + GetParam().most);
}

INSTANTIATE_TEST_SUITE_P(
    OnABoard, TimedStepTest,
    testing::Values(TimedStep{"sleep", "0"}, TimedStep{"clocks", "10 in order"}, TimedStep{"usleep", "0"},
                    TimedStep{"nanosleep", "0"}, TimedStep{"sleep-until", "00"}, TimedStep{"this-thread", "slept"},
                    TimedStep{"interrupted-sleep", "EINTR 50"}, TimedStep{"nested-sleep", "0"}, TimedStep{"poll", "0"},
                    TimedStep{"ppoll", "0"}, TimedStep{"poll-data", "1 1"}, TimedStep{"poll-without-limit", "1"},
                    TimedStep{"read-pipe", "1x"}, TimedStep{"select", "000 11 54"}, TimedStep{"pselect", "0"},
                    TimedStep{"epoll", "0017"}, TimedStep{"timer-file", "1 3 22"},
                    TimedStep{"timer-file-in-epoll", "EAGAIN 11"}, TimedStep{"timer-file-read-alone", "5"},
                    TimedStep{"edge-triggered-timer", "1111"}, TimedStep{"select-hung-up", "0"},
                    TimedStep{"condition", "11"}, TimedStep{"wall-condition", "ETIMEDOUT0"},
                    TimedStep{"monotonic-condition", "ETIMEDOUT"}, TimedStep{"broadcast", "6"},
                    TimedStep{"hand-over", "1000", 1'000}, TimedStep{"timed-mutex", "01"},
                    TimedStep{"shared-mutex", "01"}, TimedStep{"wall-locks", "ETIMEDOUT ETIMEDOUT ETIMEDOUT"},
                    TimedStep{"semaphore", "ETIMEDOUT 0"}, TimedStep{"counting-semaphore", "01"},
                    TimedStep{"future", "015"}, TimedStep{"queue", "ETIMEDOUT ETIMEDOUT 3"},
                    TimedStep{"join-thread", "ETIMEDOUT 01"}, TimedStep{"cancelled", "11"}, TimedStep{"main-ends", "0"},
                    TimedStep{"odd-limits", "EINVAL ETIMEDOUT 1"}, TimedStep{"signal-wait", "EAGAIN 1"},
                    TimedStep{"alarm", "30 1"}, TimedStep{"ualarm", "92"}, TimedStep{"interval-timer", "4 2"},
                    TimedStep{"posix-timer", "0420"}, TimedStep{"fork", "3"}, TimedStep{"command", "0"},
                    TimedStep{"busy-loop", "ended"}, TimedStep{"busy-thread", "ended"},
                    TimedStep{"close-all", "polled"}, TimedStep{"system-call", "0 ETIMEDOUT 00"}),
    [](const testing::TestParamInfo<TimedStep>& step) { return NameOf(step.param.name); });

// What the programs around event loops print (LoopProgram.h). libuv counts whole milliseconds.
void ExpectEventLoop(const char* program) {
    if (*program == '\0')
        GTEST_SKIP() << "the library was not found when the tests were built";
    const BoardResult end = RunVirtual({program});

    EXPECT_EQ(end.exitCode, 0) << end.errors;
    EXPECT_EQ(end.errors, "");
    EXPECT_THAT(end.output, MatchesRegex("100 ticks, message after 400[0-9] ms, end after (9999|100[01][0-9]) ms\n"));
}

TEST(EventLoopInVirtualTimeTest, RunsAsio) {
    ExpectEventLoop(ASIO_LOOP);
}
TEST(EventLoopInVirtualTimeTest, RunsGlib) {
    ExpectEventLoop(GLIB_LOOP);
}
TEST(EventLoopInVirtualTimeTest, RunsLibuv) {
    ExpectEventLoop(UV_LOOP);
}
TEST(EventLoopInVirtualTimeTest, RunsSdEvent) {
    ExpectEventLoop(SD_EVENT_LOOP);
}

TEST(VirtualTimeTest, LivesADayInSeconds) {
    const BoardResult end = RunVirtual({"/bin/sh", "-c", "sleep 23h; date -u +%s >&2; sleep 1h; date -u +%s"});

    EXPECT_EQ(end.exitCode, 0);
    EXPECT_NEAR(std::stod(end.output) - std::stod(end.errors), 3600, 1);
}

TEST(VirtualTimeTest, BeginsAtTheGivenDate) {
    PrivateBoard board;
    board.AddOption("--time", "virtual");
    board.AddOption("--date", "2038-01-19T03:14:00Z");

    const BoardResult end = board.Run({"/bin/sh", "-c", "sleep 20; date -u +%FT%TZ"});

    EXPECT_EQ(end.output, "2038-01-19T03:14:20Z\n");
}

TEST(VirtualTimeTest, KeepsThePaceThatIsAskedFor) {
    const auto begin = std::chrono::steady_clock::now();

    const BoardResult end = RunVirtual({"/bin/sleep", "10"}, "100x");

    EXPECT_EQ(end.exitCode, 0);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(100));
}

TEST(VirtualTimeTest, LetsTimePassWhileAProgramIsStopped) {
    const BoardResult end =
        RunVirtual({"/bin/sh", "-c", "(sleep 1; kill -STOP $$; sleep 30; kill -CONT $$) & sleep 5; date +%s"});
    const BoardResult early = RunVirtual({"/bin/sh", "-c", "date +%s"});

    EXPECT_EQ(end.exitCode, 0) << end.errors;
    EXPECT_GE(std::stoll(end.output), std::stoll(early.output) + 20);
}

TEST(VirtualTimeTest, StampsChangesByTheBoardsClock) {
    PrivateBoard board;
    board.AddOption("--time", "virtual");

    const BoardResult end = board.Run({"/bin/sh", "-c", "sleep 100; echo 1 > /sys/class/leds/ledGwStsGrn/brightness"});

    EXPECT_EQ(end.exitCode, 0) << end.errors;
    const std::string changes = board.TimedChanges();
    const double seconds = std::stod(changes);
    EXPECT_GE(seconds, 100) << changes;
    EXPECT_LT(seconds, 100.5) << changes;
}

// The module pulls its line low 40 ms after its reset is released, by the same clock.
TEST(VirtualTimeTest, MovesTheSimulatedModuleByTheSameClock) {
    PrivateBoard board;
    board.AddOption("--time", "virtual");
    board.AddOption("--oxbo-ready-after", "5000");

    const BoardResult end = board.Run({"/bin/sh", "-c",
                                       "echo 1 > /var/dev/gpio-outputs/oxboResetN/value; sleep 4.9; "
                                       "cat /var/dev/gpio-inputs/oxboIrqN/value; sleep 0.2; "
                                       "cat /var/dev/gpio-inputs/oxboIrqN/value"});

    EXPECT_EQ(end.output, "1\n0\n");
}

TEST(VirtualTimeTest, SetsTheWallClockAndWakesWhoWaitsByIt) {
    const TestSupport::TemporaryFolder folder;
    folder.Write("a.scenario", "at 10s set clock 2038-01-19T03:14:00Z\nat 20s set clock back 1h\n"
                               "within 1min program exits with 0");
    PrivateBoard board;
    board.AddOption("--time", "virtual");
    board.AddOption("--date", "2000-01-01T00:00:00Z");
    board.AddOption("--scenario", folder.Path("a.scenario"));

    const BoardResult end = board.Run({"/bin/sh", "-c", "sleep 15; date -u +%FT%TZ; sleep 10; date -u +%FT%TZ"});

    EXPECT_EQ(end.exitCode, 0) << end.errors;
    EXPECT_EQ(end.output, "2038-01-19T03:14:05Z\n2038-01-19T02:14:15Z\n");
}

TEST(VirtualTimeTest, PlaysADayLongScenarioWithATighterTolerance) {
    const TestSupport::TemporaryFolder folder;
    folder.Write("a.scenario", "at 23h set OXBO_MOD_1 high\nwithin 2h NS is flashing green 500ms 500ms\n"
                               "at 1d send TERM\nwithin 1s program is killed by TERM");
    PrivateBoard board;
    board.AddOption("--time", "virtual");
    board.AddOption("--scenario", folder.Path("a.scenario"));

    const BoardResult end = board.Run({"/bin/sh", "-c",
                                       "while [ $(cat /var/dev/gpio-inputs/oxboMod1/value) = 0 ]; do sleep 600; done; "
                                       "exec " TIMED_STEPS " flash"});

    EXPECT_EQ(end.exitCode, 0) << end.errors;
}

TEST(VirtualTimeTest, RefusesToSetTheMachinesClock) {
    const TestSupport::TemporaryFolder folder;
    folder.Write("a.scenario", "set clock forward 1h\nwithin 1min program exits with 0");
    PrivateBoard board;
    board.AddOption("--time", "real");
    board.AddOption("--scenario", folder.Path("a.scenario"));

    const BoardResult end = board.Run({"/bin/sleep", "0"});

    EXPECT_EQ(end.exitCode, 1);
    EXPECT_THAT(end.errors, HasSubstr(MACHINES_TIME));
}

// The board of a scenario with that option and a program; what it says.
std::string PlayScenario(const std::string& option, const std::string& program) {
    const TestSupport::TemporaryFolder folder;
    folder.Write("a.scenario", "set clock forward 1h\nwithin 1min program exits with 0");
    PrivateBoard board;
    board.AddOption("--scenario", folder.Path("a.scenario"));
    if (!option.empty())
        board.AddOption(option);
    board.Start({program});
    return board.Wait().errors;
}

TEST(VirtualTimeTest, PlaysAScenarioThatNobodyWatches) {
    EXPECT_THAT(PlayScenario("", "true"), HasSubstr("2 steps passed"));
    EXPECT_THAT(PlayScenario("--terminal", "true"), HasSubstr(MACHINES_TIME));
    EXPECT_THAT(PlayScenario("--panel=0", "true"), HasSubstr(MACHINES_TIME));
}

TEST(VirtualTimeTest, LeavesTheMachinesTimeToAScenarioOfAStaticProgram) {
    EXPECT_THAT(PlayScenario("", STATIC_SLEEP), HasSubstr(MACHINES_TIME));
}

TEST(VirtualTimeTest, ServesProgramsThatAreStartedWithoutAnEnvironment) {
    const BoardResult end = RunVirtual({"/usr/bin/env", "-i", TIMED_STEPS, "sleep"});

    EXPECT_EQ(end.output, "sleep 10000 0\n");
    EXPECT_EQ(end.errors, "");
}

TEST(VirtualTimeTest, EndsPosixTimersWithTheirProgram) {
    const BoardResult end = RunVirtual({TIMED_STEPS, "exec-timer"});

    EXPECT_EQ(end.exitCode, 0);
    EXPECT_EQ(end.output, "sleep 10000 0\n");
}

// The board looks at the program while the kernel closes its files. Many times, since the moment is short.
TEST(VirtualTimeTest, AnswersAProgramThatIsExecutedWithAnOpenValueFile) {
    for (int i = 0; i < 10; ++i)
        EXPECT_EQ(RunVirtual({TIMED_STEPS, "exec-with-open-file"}).output, "sleep 10000 0\n");
}

TEST(VirtualTimeTest, WakesWhoWaitsByTheWallClockThatAProgramSets) {
    PrivateBoard board;
    board.AddOption("--time", "virtual");
    board.AddOption("--as-root");

    EXPECT_EQ(board.Run({TIMED_STEPS, "set-clock"}).output, "set-clock 10000 0 1\n");
}

TEST(VirtualTimeTest, LetsAStoppedProgramGoOnToItsDeadline) {
    const TestSupport::TemporaryFolder folder;
    folder.Write("a.scenario", "at 1s send STOP\nat 3s send CONT\nwithin 8s program exits with 0\n"
                               "never stderr has \"time\"");
    PrivateBoard board;
    board.AddOption("--time", "virtual");
    board.AddOption("--scenario", folder.Path("a.scenario"));

    const BoardResult end = board.Run({TIMED_STEPS, "sleep"});

    EXPECT_EQ(end.exitCode, 0) << end.errors;
    EXPECT_EQ(end.output, "sleep 10000 0\n");
}

// A child that has done nothing yet but wait is not one that has the machine's clock.
TEST(VirtualTimeTest, KnowsAChildThatWaitsBeforeItRunsAProgram) {
    const BoardResult end = RunVirtual({TIMED_STEPS, "waiting-child"});

    EXPECT_EQ(end.output, "waiting-child 10000 0\n");
    EXPECT_EQ(end.errors, "");
}

TEST(VirtualTimeTest, EndsTheRunWhereAStaticProgramDoesNotSeeItsClock) {
    // A preloaded board rejects such programs.
    PrivateBoard board;
    board.AddOption("--time", "virtual");
    board.AddOption("--unserved", "fail");

    const BoardResult end = board.Run({STATIC_SLEEP});

    EXPECT_EQ(end.exitCode, 125);
    EXPECT_THAT(end.errors, HasSubstr("virtual time does not reach the program: thread "));
    EXPECT_THAT(end.errors, HasSubstr(" of static-sleep (process "));
}

TEST(VirtualTimeTest, LetsTimePassAsOnTheMachineForWhatItDoesNotServe) {
    const BoardResult end = RunVirtual({TIMED_STEPS, "shared-condition"});

    EXPECT_EQ(end.exitCode, 0);
    EXPECT_THAT(end.errors, HasSubstr("waits past the board's clock, by the system call futex"));
    // How much longer it takes is the machine's business.
    EXPECT_THAT(end.output, MatchesRegex("shared-condition [1-9][0-9][0-9][0-9][0-9]+ 0\n"));
}

// In the kernel's eyes its parent waits as for a disk meanwhile.
TEST(VirtualTimeTest, GoesOnWhereAChildThatIsYetToExecuteAProgramWaits) {
    const BoardResult end = RunVirtual({TIMED_STEPS, "spawn-at-a-fifo"});

    EXPECT_EQ(end.exitCode, 0);
    EXPECT_THAT(end.output, MatchesRegex("spawn-at-a-fifo [0-9]+ 000\n"));
}

// A step of UnservedSteps.cpp, and what the board says of it.
struct UnservedStep {
    const char* name;
    const char* text;

    friend std::ostream& operator<<(std::ostream& out, const UnservedStep& step) { return out << step.name; }
};

class UnservedStepTest : public testing::TestWithParam<UnservedStep> {};

TEST_P(UnservedStepTest, EndsTheRunOnRequest) {
    PrivateBoard board;
    board.AddOption("--time", "virtual");
    board.AddOption("--unserved", "fail");

    const BoardResult end = board.Run({TIMED_STEPS, GetParam().name});

    EXPECT_EQ(end.exitCode, 125);
    EXPECT_THAT(end.errors, HasSubstr("virtual time does not reach the program: thread "));
    EXPECT_THAT(end.errors, HasSubstr(" of timed-steps (process "));
    EXPECT_THAT(end.errors, HasSubstr(GetParam().text));
}

INSTANTIATE_TEST_SUITE_P(
    OnABoard, UnservedStepTest,
    testing::Values(UnservedStep{"thread-timer", " uses a timer that starts a thread (SIGEV_THREAD)"},
                    UnservedStep{"shared-condition", " waits past the board's clock, by the system call futex"},
                    UnservedStep{"socket-limit", " uses a time limit of a socket (SO_RCVTIMEO or SO_SNDTIMEO)"},
                    UnservedStep{"connection", " uses a TCP or UDP connection"},
                    UnservedStep{"own-system-call", " waits past the board's clock, by the system call nanosleep"},
                    UnservedStep{"no-descriptors", " waits past the board's clock, by the system call ppoll"}),
    [](const testing::TestParamInfo<UnservedStep>& step) { return NameOf(step.param.name); });

// Time passes as on the machine then; timers expire nonetheless.
TEST(VirtualTimeTest, LetsTimersOfWhatOutlivesTheProgramExpire) {
    PrivateBoard board;
    board.AddOption("--time", "virtual");

    const BoardResult end = board.Run({"/bin/sh", "-c",
                                       "(timeout 0.2 sh -c 'while :; do :; done'; echo 1 > "
                                       "/sys/class/leds/ledGwStsGrn/brightness) & exit 4"});

    EXPECT_EQ(end.exitCode, 4) << end.errors;
    EXPECT_EQ(board.Changes(), "MS.green 1\n");
}

TEST(VirtualTimeTest, LeavesNoProcessBehindWhereItEndsTheRun) {
    PrivateBoard board;
    board.AddOption("--time", "virtual");
    board.AddOption("--unserved", "fail");

    const BoardResult end =
        board.Run({"/bin/sh", "-c", std::string("sleep 1000 & echo $!; exec ") + TIMED_STEPS + " thread-timer"});

    EXPECT_EQ(end.exitCode, 125);
    EXPECT_THAT(end.output, MatchesRegex("[0-9]+\n"));
    if (TestSupport::BoardsArePreloaded()) { // the number is the machine's
        EXPECT_TRUE(PrivateBoard::WaitFor([&] { return ::kill(std::stoi(end.output), 0) != 0; }));
    }
}

} // namespace
} // namespace VelrixBoard
