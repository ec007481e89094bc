// SPDX-License-Identifier: Apache-2.0
#include "board/control/InputRecorder.h"

#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "board/base/BoardError.h"
#include "tests/board/CommandRun.h"
#include "tests/support/PrivateBoard.h"

namespace VelrixBoard {
namespace {

using std::chrono::milliseconds;
using testing::ContainsRegex;
using testing::HasSubstr;

// Takes everything but faults that outputs of a small board cannot have.
class FakeControl final : public IBoardControl {
public:
    void DriveInput(std::size_t, bool, InputDriver driver) override {
        ++calls;
        last = driver;
    }
    void ReleaseInput(std::size_t) override { ++calls; }
    InputDriver DriverOf(std::size_t) const override { return last; }
    void SetFault(std::size_t, const std::optional<Fault>& fault) override {
        if (fault && fault->kind == Fault::Kind::MISSING)
            throw BoardError("refused");
        ++calls;
    }
    std::optional<Fault> FaultOf(std::size_t) const override { return std::nullopt; }
    void SetOxboReadyAfter(std::optional<milliseconds>) override { ++calls; }
    ModuleState OxboState() const override { return {.readyAfter = milliseconds(7)}; }
    void SignalProgram(int) override { ++calls; }
    void SetWebLogFull(bool) override { ++calls; }
    void ChangeWallClock(const WallClockChange&) override { ++calls; }
    void RestartProgram() override { ++calls; }

    int calls = 0;
    InputDriver last = InputDriver::START;
};

TEST(InputRecorderTest, WritesEachStepWithItsTimeFromTheProgramsStart) {
    const TestSupport::TemporaryFolder folder;
    const BoardModel model;
    const BoardState state(model);
    FakeControl control;
    BoardTime now = milliseconds(30);
    InputRecorder recorder(folder.Path("a"), state, control, [&now] { return now; });
    const auto signal = [&state](const char* name) { return state.Find(name).value(); };

    recorder.OnProgramStarted(now);
    now = milliseconds(1'030);
    recorder.DriveInput(signal("OXBO_MOD_1"), true, InputDriver::PANEL);
    EXPECT_EQ(folder.Read("a"), "at 1000000us set OXBO_MOD_1 high\n"); // at once, should the board be killed
    recorder.SetFault(signal("MS.red"), ParseFault("slow:2s"));
    recorder.SetFault(signal("MS.red"), std::nullopt);
    EXPECT_THROW(recorder.SetFault(signal("MS.red"), ParseFault("missing")), BoardError);
    recorder.SetOxboReadyAfter(std::nullopt);
    now = milliseconds(1'530);
    recorder.ChangeWallClock({true, std::chrono::seconds(-3)});
    recorder.ChangeWallClock({false, std::chrono::seconds(5)});
    recorder.SignalProgram(SIGUSR1);
    recorder.ReleaseInput(signal("OXBO_IRQ_N"));
    recorder.RestartProgram();
    recorder.OnProgramEnded(0, milliseconds(1'630));
    recorder.Finish();

    EXPECT_EQ(folder.Read("a"), "at 1000000us set OXBO_MOD_1 high\n"
                                "at 1000000us fault MS.red slow:2s\n"
                                "at 1000000us fault MS.red none\n"
                                "at 1000000us module ready never\n"
                                "at 1500000us set clock back 3000000us\n"
                                "at 1500000us set clock 1970-01-01T00:00:05.000000000Z\n"
                                "at 1500000us send USR1\n"
                                "at 1500000us set OXBO_IRQ_N high\n" // the level that the module gives it
                                "# here the program was started again, which a scenario cannot do\n"
                                "wait 100000us\n");
    EXPECT_EQ(control.calls, 9);
    EXPECT_EQ(recorder.DriverOf(signal("OXBO_MOD_1")), InputDriver::PANEL);
    EXPECT_EQ(recorder.OxboState().readyAfter, milliseconds(7));
}

TEST(InputRecorderTest, SaysThatTheDiskIsFull) {
    const BoardModel model;
    const BoardState state(model);
    FakeControl control;
    InputRecorder recorder("/dev/full", state, control, [] { return BoardTime(0); });
    recorder.SignalProgram(SIGUSR1);
    EXPECT_THROW(recorder.Finish(), BoardError);
    EXPECT_THROW(InputRecorder("/none/a", state, control, [] { return BoardTime(0); }), BoardError);
}

TEST(InputRecorderTest, RecordsARunThatCanBePlayedAgain) {
    const TestSupport::TemporaryFolder folder;
    // The line stays high for a second after the program has seen it, so that a slow one sees it in both runs.
    folder.Write("inputs", "at 100ms set OXBO_MOD_1 high\nwithin 20s MS is green\nwait 1s\nset OXBO_MOD_1 low\n"
                           "within 20s program exits with 5");
    const std::string script = "look() { read -r level < /var/dev/gpio-inputs/oxboMod1/value || :; };"
                               "look; while [ $level = 0 ]; do look; done;"
                               "echo 1 > /sys/class/leds/ledGwStsGrn/brightness;"
                               "while [ $level = 1 ]; do look; done; exit 5";

    const CommandEnd first = CommandRun{
        {VELRIX_BOARD_COMMAND, "record", folder.Path("recorded"), "--scenario", folder.Path("inputs"), "--", "sh", "-c",
         script}}.Run();
    ASSERT_EQ(first.ExitCode(), 0) << first.errors;
    const std::string recorded = folder.Read("recorded");
    long long high = 0, low = 0, rest = 0;
    ASSERT_EQ(std::sscanf(recorded.c_str(), "at %lldus set OXBO_MOD_1 high at %lldus set OXBO_MOD_1 low wait %lldus",
                          &high, &low, &rest),
              3)
        << recorded;
    EXPECT_GE(high, 100'000);
    EXPECT_LT(high, 400'000);
    EXPECT_GE(low, high + 1'000'000);

    folder.Write("recorded", recorded + "within 20s program exits with 5\n");
    const CommandEnd again = CommandRun{OnBoard(script, {"--scenario", folder.Path("recorded")})}.Run();
    EXPECT_EQ(again.ExitCode(), 0) << again.errors;
}

TEST(InputRecorderTest, RecordsWhatComesThroughTheControlPipe) {
    const TestSupport::TemporaryFolder folder;
    const pid_t board =
        CommandRun{{VELRIX_BOARD_COMMAND, "record", folder.Path("recorded"), "--directory", folder.Path("board"), "--",
                    "sh", "-c",
                    "echo > /mnt/share/ready; while grep -q 0 /var/dev/gpio-inputs/oxboMod1/value; do :; done"}}
            .Start();
    ASSERT_TRUE(
        TestSupport::PrivateBoard::WaitFor([&] { return std::filesystem::exists(folder.Path("board/share/ready")); }));

    std::ofstream(folder.Path("board/control")) << "fault MS.red=EIO\nset OXBO_MOD_1=1\n" << std::flush;
    ::waitpid(board, nullptr, 0);

    EXPECT_THAT(folder.Read("recorded"),
                ContainsRegex("^at [0-9]+us fault MS.red EIO\nat [0-9]+us set OXBO_MOD_1 high\n"));
}

TEST(InputRecorderTest, RefusesAFileThatItCannotMakeBeforeTheProgramRuns) {
    const CommandEnd end = CommandRun{{VELRIX_BOARD_COMMAND, "record", "/none/a", "--", "echo", "ran"}}.Run();

    EXPECT_EQ(end.ExitCode(), 125);
    EXPECT_EQ(end.output, "");
    EXPECT_THAT(end.errors, HasSubstr("cannot write the recording /none/a: No such file or directory"));
}

} // namespace
} // namespace VelrixBoard
