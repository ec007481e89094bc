// SPDX-License-Identifier: Apache-2.0
#include "board/control/ScenarioPlayer.h"

#include <csignal>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "board/base/BoardError.h"
#include "tests/board/CommandRun.h"
#include "tests/board/Terminal.h"
#include "tests/support/CapturedStandardError.h"

namespace VelrixBoard {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

// A board without a program: what is done to it goes into one log, and to its observers at once, as on the real one.
class FakeControl final : public IBoardControl {
public:
    explicit FakeControl(BoardState& boardState) : state(boardState) {}

    void DriveInput(std::size_t signal, bool level, InputDriver driver) override {
        EXPECT_EQ(driver, InputDriver::SCENARIO);
        Put("drive " + state.Name(signal) + (level ? " high" : " low"));
        state.Set(signal, level, now);
    }
    void ReleaseInput(std::size_t) override {}
    InputDriver DriverOf(std::size_t) const override { return InputDriver::START; }
    void SetFault(std::size_t signal, const std::optional<Fault>& fault) override {
        Put("fault " + state.Name(signal) + " " + (fault ? ToString(*fault) : "none"));
    }
    std::optional<Fault> FaultOf(std::size_t) const override { return std::nullopt; }
    void SetOxboReadyAfter(std::optional<milliseconds>) override {}
    ModuleState OxboState() const override { return {}; }
    void SetWebLogFull(bool isFull) override { Put(isFull ? "web log full" : "web log not full"); }
    void ChangeWallClock(const WallClockChange& change) override {
        Put("clock " + std::to_string(change.time / seconds(1)));
    }
    void SignalProgram(int signal) override { Put("signal " + std::to_string(signal)); }
    void RestartProgram() override {}

    std::string log;
    BoardTime now{};

private:
    void Put(const std::string& entry) { log += (log.empty() ? "" : ", ") + entry; }

    BoardState& state;
};

class ScenarioPlayerTest : public testing::Test {
protected:
    ScenarioPlayer& Play(const std::string& text) {
        folder.Write("a.scenario", text);
        player.emplace(ScenarioOptions{folder.Path("a.scenario"), folder.Path("report.xml")}, state, control);
        state.Add(*player);
        return *player;
    }

    void RunAt(BoardTime now) {
        control.now = now;
        player->Run(now);
    }

    // The verdict and what was said of it.
    int Finish(BoardTime now) {
        const TestSupport::CapturedStandardError capture;
        const int code = player->Finish(now);
        said = capture.Text();
        return code;
    }

    std::size_t Signal(const std::string& name) const { return state.Find(name).value(); }

    const TestSupport::TemporaryFolder folder;
    const BoardModel model;
    BoardState state{model};
    FakeControl control{state};
    std::optional<ScenarioPlayer> player;
    std::string said;
};

TEST_F(ScenarioPlayerTest, DrivesTheBoardAndSeesWhatThatDid) {
    auto& playing = Play("set OXBO_MOD_1 high\nwithin 1ms OXBO_MOD_1 is high\nfault NS.red slow:2s\nfault NS.red none\n"
                         "send USR1\nexpect OXBO_MOD_1 pulses high");

    playing.OnProgramStarted(milliseconds(30));
    RunAt(milliseconds(30));

    EXPECT_EQ(control.log, "drive OXBO_MOD_1 high, fault NS.red slow:2s, fault NS.red none, signal 10, signal 15");
    EXPECT_EQ(Finish(milliseconds(40)), 1);
    EXPECT_THAT(
        said, HasSubstr("a.scenario:6: expect OXBO_MOD_1 pulses high: expected a high pulse of OXBO_MOD_1; seen none"));
}

TEST_F(ScenarioPlayerTest, CountsTimesFromTheFirstStartOfTheProgram) {
    auto& playing = Play("at 500ms set OXBO_MOD_1 high\nat 800ms set OXBO_MOD_1 low");
    EXPECT_EQ(playing.Due(), std::nullopt);

    playing.OnProgramStarted(milliseconds(30));
    RunAt(milliseconds(30));
    EXPECT_EQ(playing.Due(), milliseconds(30 + 5)); // when the LEDs' first colours count
    RunAt(milliseconds(529));
    EXPECT_EQ(control.log, "");
    RunAt(milliseconds(530));
    EXPECT_EQ(control.log, "drive OXBO_MOD_1 high");

    // On the same board, as after a reboot.
    playing.OnProgramEnded(0, milliseconds(600));
    EXPECT_EQ(playing.Due(), std::nullopt);
    playing.OnProgramStarted(milliseconds(700));
    RunAt(milliseconds(829));
    EXPECT_EQ(control.log, "drive OXBO_MOD_1 high");
    RunAt(milliseconds(830));

    EXPECT_EQ(control.log, "drive OXBO_MOD_1 high, drive OXBO_MOD_1 low, signal 15");
    EXPECT_EQ(Finish(milliseconds(900)), 0) << said;
}

TEST_F(ScenarioPlayerTest, CountsWhatTheProgramDidBeforeItsStartWasTold) {
    auto& playing =
        Play("within 1s OXBO_RL is high\nwithin 1s OXBO_RL is low\nexpect OXBO_RL pulses high for at most 3ms");

    state.Set(Signal("OXBO_RL"), true, milliseconds(30));
    state.Set(Signal("OXBO_RL"), false, milliseconds(32));
    playing.OnProgramStarted(milliseconds(50));
    RunAt(milliseconds(50));

    EXPECT_EQ(Finish(milliseconds(60)), 0) << said;
}

TEST_F(ScenarioPlayerTest, EndsAProgramThatIsNoLongerNeeded) {
    auto& playing = Play("wait 100ms\nnever MS is red");
    playing.OnProgramStarted(milliseconds(0));

    RunAt(milliseconds(100));
    EXPECT_EQ(control.log, "signal 15");
    EXPECT_EQ(playing.Due(), milliseconds(100) + ScenarioPlayer::END_LIMIT);
    RunAt(milliseconds(5'099));
    EXPECT_EQ(control.log, "signal 15");
    RunAt(milliseconds(5'100));
    EXPECT_EQ(control.log, "signal 15, signal 9");
    EXPECT_EQ(playing.Due(), std::nullopt);

    // What it did after the verdict counts no more.
    state.Set(Signal("MS.red"), true, milliseconds(5'200));
    RunAt(milliseconds(5'300));
    playing.OnProgramEnded(SIGKILL, milliseconds(5'400));
    EXPECT_EQ(Finish(milliseconds(5'500)), 0) << said;
}

TEST_F(ScenarioPlayerTest, JudgesLogsRebootsAndTheProgramsEnd) {
    auto& playing = Play("within 1s web log has %50\nwithin 1s system log has ready\nwithin 1s reboot is called\n"
                         "within 1s program exits with 3");
    playing.OnProgramStarted(milliseconds(0));
    playing.OnWebLog("%50", milliseconds(10));
    playing.OnSyslog("<13>app: ready", milliseconds(11));
    playing.OnReboot("/sbin/reboot", milliseconds(12));
    RunAt(milliseconds(13));

    playing.OnProgramEnded(3 << 8, milliseconds(20));

    EXPECT_EQ(Finish(milliseconds(30)), 0) << said;
    EXPECT_THAT(said, EndsWith("a.scenario: 4 steps passed, 0 failed, 0 not reached\n"));
    EXPECT_THAT(folder.Read("report.xml"), HasSubstr("tests=\"4\" failures=\"0\" errors=\"0\" skipped=\"0\""));
}

TEST_F(ScenarioPlayerTest, FailsWhatTheProgramsCrashLeftOpen) {
    auto& playing = Play("never MS is red");
    playing.OnProgramStarted(milliseconds(0));
    RunAt(milliseconds(1));

    playing.OnProgramEnded(SIGSEGV, milliseconds(20));

    EXPECT_EQ(Finish(milliseconds(30)), 1);
    EXPECT_THAT(said, HasSubstr("the program was killed by SEGV at 20 ms"));
    EXPECT_THAT(folder.Read("report.xml"), HasSubstr("failures=\"1\""));
}

TEST_F(ScenarioPlayerTest, ReportsRecordsOfAnyBytesInPrintableText) {
    using namespace std::string_view_literals;
    auto& playing = Play("within 1s web log has +done");
    playing.OnProgramStarted(milliseconds(0));
    playing.OnWebLog("+20 \xB0\0C \x1B[2J\u00E4"sv, milliseconds(10));
    RunAt(milliseconds(1'000));

    EXPECT_EQ(Finish(milliseconds(1'100)), 1);

    EXPECT_THAT(said, HasSubstr("+20 \\xB0\\x00C \\x1B[2J\u00E4"));
    EXPECT_THAT(said, EndsWith("a.scenario: 0 steps passed, 1 failed, 0 not reached\n"));
    EXPECT_THAT(folder.Read("report.xml"), HasSubstr("+20 \\xB0\\x00C \\x1B[2J\u00E4"));
}

TEST_F(ScenarioPlayerTest, FindsOutFirstThatTheReportCannotBeWritten) {
    folder.Write("a.scenario", "wait 1s");
    try {
        const ScenarioPlayer refused({folder.Path("a.scenario"), folder.Path("none/report.xml")}, state, control);
        FAIL();
    } catch (const BoardError& error) {
        EXPECT_EQ(error.what(),
                  "cannot write the report " + folder.Path("none/report.xml") + ": No such file or directory");
    }
}

TEST_F(ScenarioPlayerTest, KnowsEveryNameOfTheBoard) {
    const ScenarioNames names = NamesOf(model);

    std::string text;
    for (const auto& led : names.leds) {
        text += led.name;
        for (const std::string& color : led.colors)
            text += "." + color;
        text += " ";
    }
    EXPECT_EQ(text, "MS.green.red NS.green.red LINK_ACT1.green.yellow LINK_ACT2.green.yellow ");
    EXPECT_THAT(names.inputs, testing::ElementsAre("OXBO_IRQ_N", "OXBO_MOD_ID0_SYNC", "OXBO_MOD_1", "QOR_DPRAM_BUSY_N",
                                                   "QOR_DPRAM_IRQ_N"));
    EXPECT_THAT(names.outputs, testing::ElementsAre("OXBO_RL", "OXBO_RESET1_N", "QOR_BL_N", "QOR_RESET0_N"));
}

// The command, with a program that is a shell script.
class ScenarioCommandTest : public testing::Test {
protected:
    CommandEnd Play(const std::string& scenario, const std::string& script) const {
        folder.Write("a.scenario", scenario);
        return CommandRun{OnBoard(script, {"--scenario", folder.Path("a.scenario"), "--junit", folder.Path("a.xml")})}
            .Run();
    }

    const TestSupport::TemporaryFolder folder;
};

const std::string MS_GREEN = "/sys/class/leds/ledGwStsGrn/brightness";
const std::string MOD_1 = "/var/dev/gpio-inputs/oxboMod1/value";

TEST_F(ScenarioCommandTest, PassesAProgramThatDoesAsItShould) {
    const CommandEnd end = Play("within 20s MS is green\n"
                                "set OXBO_MOD_1 high\n"
                                "within 20s web log has +seen\n"
                                "never NS is red\n"
                                "send TERM\n"
                                "within 20s program exits with 7\n",
                                "trap 'exit 7' TERM; printf 1 > " + MS_GREEN + "; while grep -q 0 " + MOD_1 +
                                    "; do :; done; echo +seen > /mnt/share/logger; while :; do :; done");

    EXPECT_EQ(end.ExitCode(), 0);
    EXPECT_THAT(end.errors, EndsWith("a.scenario: 6 steps passed, 0 failed, 0 not reached\n"));
    EXPECT_THAT(folder.Read("a.xml"), HasSubstr("tests=\"6\" failures=\"0\" errors=\"0\" skipped=\"0\""));
}

TEST_F(ScenarioCommandTest, SaysWhatItExpectedAndSawAndWhen) {
    const CommandEnd end = Play("within 20s MS is green\nwithin 100ms OXBO_RL is high\nwait 1s\n",
                                "printf 1 > " + MS_GREEN + "; exec sleep 1000");

    EXPECT_EQ(end.ExitCode(), 1);
    EXPECT_THAT(end.errors,
                testing::ContainsRegex("a.scenario:2: within 100ms OXBO_RL is high: expected within 100 ms: "
                                       "OXBO_RL is high; seen at [0-9.]+ m?s: OXBO_RL low since 0.0 ms\n"));
    EXPECT_THAT(end.errors, EndsWith("1 step passed, 1 failed, 1 not reached\n"));
    EXPECT_THAT(folder.Read("a.xml"), HasSubstr("tests=\"3\" failures=\"1\" errors=\"0\" skipped=\"1\""));
}

TEST_F(ScenarioCommandTest, JudgesWhatTheProgramPrintsAndPassesItOn) {
    // More than a pipe and a turn of the loop take; the last piece has no line end.
    constexpr int LINES = 1'500;
    const std::string rest(100, 'x');
    const CommandEnd end =
        Play("within 60s stdout has \"1499 x\"\nwithin 60s stderr has prob\nnever stdout has problem\n"
             "within 60s program exits with 0",
             "i=0; while [ $i -lt " + std::to_string(LINES) + " ]; do echo $i " + rest +
                 "; i=$((i + 1)); done; printf 'a problem' >&2");

    EXPECT_EQ(end.ExitCode(), 0) << end.errors;
    std::string whole;
    for (int i = 0; i < LINES; ++i)
        whole += std::to_string(i) + " " + rest + "\n";
    EXPECT_TRUE(end.output == whole) << end.output.size();
    EXPECT_THAT(end.errors, StartsWith("a problem"));
}

TEST_F(ScenarioCommandTest, ReportsWhatTheProgramPrinted) {
    const CommandEnd end =
        Play("within 20s stdout has two\nwithin 20s stderr has problem\nwithin 20s program exits with 0",
             "echo one; printf two; sleep 0.01; echo a problem >&2");

    EXPECT_EQ(end.ExitCode(), 0) << end.errors;
    EXPECT_EQ(end.output, "one\ntwo");
    EXPECT_THAT(end.errors, StartsWith("a problem\n"));
    EXPECT_THAT(folder.Read("a.xml"), HasSubstr("  <system-out>one\ntwo</system-out>\n"
                                                "  <system-err>a problem\n</system-err>\n"));
}

TEST_F(ScenarioCommandTest, LeavesStreamsToTheProgramThatNobodyJudges) {
    folder.Write("a.scenario", "within 20s stderr has \"an error\"\nwithin 20s program exits with 0");
    const CommandEnd end = CommandRun{OnBoard("test ! -p /proc/$$/fd/1 && test -p /proc/$$/fd/2 && echo an error >&2",
                                              {"--scenario", folder.Path("a.scenario")})}
                               .Run();

    EXPECT_EQ(end.ExitCode(), 0) << end.errors;
}

TEST_F(ScenarioCommandTest, JudgesEachStreamBesideTheBoardsPicture) {
    folder.Write("a.scenario", "within 20s stdout has \"from out\"\nwithin 20s stderr has \"from err\"\n"
                               "never stderr has out\nwithin 20s program exits with 0");
    Terminal terminal(
        OnBoard("echo from out; echo from err >&2", {"--scenario", folder.Path("a.scenario"), "--terminal"}));

    const std::string shown = terminal.ReadUntil("steps passed");

    EXPECT_EQ(terminal.Wait(), 0);
    EXPECT_THAT(shown, testing::AllOf(HasSubstr("from out"), HasSubstr("from err"), HasSubstr("4 steps passed")));
}

TEST_F(ScenarioCommandTest, FailsAProgramThatCannotBeRun) {
    folder.Write("a.scenario", "never MS is red");
    const CommandEnd end = CommandRun{
        {VELRIX_BOARD_COMMAND, "run", "--scenario", folder.Path("a.scenario"), "--",
         "no-such-program"}}.Run();

    EXPECT_EQ(end.ExitCode(), 1);
    EXPECT_THAT(end.errors, HasSubstr("the program could not be run (exit code 127)"));
}

TEST_F(ScenarioCommandTest, RefusesAWrongScenarioBeforeTheProgramRuns) {
    const struct {
        std::string scenario;
        std::string reason;
    } rows[] = {
        {"wait 1s\nwithin 2s MS is blue",
         "a.scenario:2:17: expected steady, not, flashing, toggling, green, red, green+red or off"},
        {"", "a.scenario: has no steps"},
    };
    for (const auto& row : rows) {
        const CommandEnd end = Play(row.scenario, "echo ran");

        EXPECT_EQ(end.ExitCode(), 125) << row.reason;
        EXPECT_EQ(end.output, "");
        EXPECT_THAT(end.errors, HasSubstr(row.reason));
    }
    const CommandEnd alone = CommandRun{OnBoard("echo ran", {"--junit", folder.Path("b.xml")})}.Run();
    EXPECT_EQ(alone.ExitCode(), 125);
    EXPECT_THAT(alone.errors, HasSubstr("--junit requires --scenario"));
}

} // namespace
} // namespace VelrixBoard
