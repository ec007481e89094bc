// SPDX-License-Identifier: Apache-2.0
#include "board/scenario/ScenarioRunner.h"

#include <csignal>
#include <stdexcept>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "board/scenario/ScenarioParser.h"
#include "tests/scenario/Names.h"

using namespace VelrixBoard;
using std::chrono::milliseconds;

namespace {

// The log of the scenario's actions.
class FakeBoard final : public IScenarioBoard {
public:
    void Set(const std::string& line, bool high) override { Put("set " + line + (high ? " high" : " low")); }
    void SetFault(const std::string& signal, const std::optional<Fault>& fault) override {
        if (fault && fault->kind == Fault::Kind::MISSING)
            throw std::runtime_error("this board cannot lose files");
        Put("fault " + signal + " " + (fault ? ToString(*fault) : "none"));
    }
    void SetClock(const WallClockChange& change) override {
        Put((change.isRelative ? "clock by " : "clock to ") + std::to_string(change.time / std::chrono::seconds(1)));
    }
    void Send(int signal) override { Put("send " + std::to_string(signal)); }
    void SetWebLogFull(bool isFull) override { Put(isFull ? "web log full" : "web log not full"); }
    void SetReadyAfter(std::optional<milliseconds> delay) override {
        Put("ready " + (delay ? std::to_string(delay->count()) : "never"));
    }

    std::string log;

private:
    void Put(const std::string& entry) { log += (log.empty() ? "" : ", ") + entry; }
};

// A run of a scenario, by events with times in milliseconds.
struct Play {
    explicit Play(const std::string& text) : scenario(ParseScenario("x", text, NAMES)), runner(scenario, NAMES, board) {
        for (const auto& led : NAMES.leds)
            for (const auto& color : led.colors)
                runner.OnLevel(led.name + "." + color, false, ScenarioTime(0));
        for (const auto& line : NAMES.outputs)
            runner.OnLevel(line, false, ScenarioTime(0));
        for (const auto& line : NAMES.inputs)
            runner.OnLevel(line, true, ScenarioTime(0));
    }

    // Like a board: stops the clock at the runner's NextTime.
    void Until(int ms) {
        while (const auto next = runner.NextTime()) {
            if (*next >= milliseconds(ms))
                break;
            runner.OnTime(*next);
        }
        runner.OnTime(milliseconds(ms));
    }
    void Level(int ms, const std::string& signal, bool high) {
        Until(ms);
        runner.OnLevel(signal, high, milliseconds(ms));
    }

    // One letter per step: p(assed), f(ailed), n(ot reached).
    std::string Verdicts() const {
        std::string text;
        for (const auto& result : runner.Results())
            text += result.verdict == StepResult::Verdict::PASSED   ? 'p'
                    : result.verdict == StepResult::Verdict::FAILED ? 'f'
                                                                    : 'n';
        return text;
    }
    std::string Message() const {
        for (const auto& result : runner.Results())
            if (result.verdict == StepResult::Verdict::FAILED)
                return result.message;
        return "";
    }

    FakeBoard board;
    const Scenario scenario;
    ScenarioRunner runner;
};

} // namespace

TEST(ScenarioRunner, PlaysItsStepsInOrder) {
    Play run("within 1s MS is green\nset OXBO_IRQ_N low\nwithin 1s OXBO_RL is high\nsend TERM\nwithin 1s program exits "
             "with 0");

    run.Level(100, "MS.green", true);
    EXPECT_EQ(run.board.log, "");
    run.Until(200);
    EXPECT_EQ(run.board.log, "set OXBO_IRQ_N low");
    run.Level(300, "OXBO_RL", true);
    EXPECT_EQ(run.board.log, "set OXBO_IRQ_N low, send 15");
    EXPECT_FALSE(run.runner.IsDone());
    run.runner.OnExit(0, milliseconds(400));

    EXPECT_TRUE(run.runner.IsDone());
    EXPECT_EQ(run.Verdicts(), "ppppp");
    EXPECT_TRUE(run.runner.HasPassed());
    EXPECT_EQ(run.runner.Results()[0].time, milliseconds(105)); // when the colour was stable
}

TEST(ScenarioRunner, SetsTheClock) {
    Play run("set clock 1970-01-02T00:00:00Z\nat 10ms set clock back 1h\nat 20ms set clock forward 1d");

    run.Until(30);

    EXPECT_EQ(run.board.log, "clock to 86400, clock by -3600, clock by 86400");
}

TEST(ScenarioRunner, SaysWhatItExpectedAndWhatItSaw) {
    Play run("within 1s MS is green\nwait 1s");

    run.Level(500, "MS.red", true);
    run.Until(2'000);

    EXPECT_TRUE(run.runner.IsDone());
    EXPECT_EQ(run.Verdicts(), "fn");
    EXPECT_EQ(run.Message(),
              "expected within 1.000 s: MS is green; seen at 1.000 s: MS off for 500 ms, red since 500 ms");
    EXPECT_FALSE(run.runner.HasPassed());
}

TEST(ScenarioRunner, TellsWhatItSawOfEverything) {
    const struct {
        const char* step;
        const char* seen;
    } ROWS[] = {
        {"within 1s OXBO_RL is high", "OXBO_RL low since 0.0 ms"},
        {"within 1s OXBO_IRQ_N is low", "OXBO_IRQ_N high since 0.0 ms"},
        {"within 1s NS is flashing red 1s 1s", "NS off since 0.0 ms"},
        {"within 1s program exits with 0", "the program is running"},
        {"within 1s program is killed by KILL", "the program is running"},
        {"within 1s reboot is called", "no call of reboot"},
        {"within 1s web log has x", "\"+Ready\" as the last record"},
        {"within 1s system log has x", "an empty log"},
    };
    for (const auto& row : ROWS) {
        Play run(row.step);
        run.runner.OnWebLog(">start", milliseconds(1));
        run.runner.OnWebLog("+Ready", milliseconds(2));
        run.Until(2'000);
        EXPECT_TRUE(run.Message().ends_with("; seen at 1.000 s: " + std::string(row.seen))) << run.Message();
    }
}

TEST(ScenarioRunner, CountsEachWaitFromTheStepBefore) {
    Play run("wait 900ms\nwithin 200ms OXBO_RL is high");
    run.Level(1'099, "OXBO_RL", true);
    EXPECT_EQ(run.Verdicts(), "pp");

    Play late("wait 900ms\nwithin 200ms OXBO_RL is high");
    late.Level(1'101, "OXBO_RL", true);
    EXPECT_EQ(late.Verdicts(), "pf");
}

TEST(ScenarioRunner, SeesPulsesThatAreOverAtOnce) {
    Play run("within 1s OXBO_RL is high");

    run.Level(500, "OXBO_RL", true);
    run.Level(500, "OXBO_RL", false);

    EXPECT_EQ(run.Verdicts(), "p");
}

TEST(ScenarioRunner, ActsAtItsTimes) {
    Play run("within 1s OXBO_RL is high\nat 200ms set OXBO_IRQ_N low\nat 400ms set OXBO_IRQ_N high");

    run.Level(300, "OXBO_RL", true);
    EXPECT_EQ(run.board.log, "set OXBO_IRQ_N low"); // its time was over already
    run.Until(399);
    EXPECT_EQ(run.board.log, "set OXBO_IRQ_N low");
    run.Until(400);

    EXPECT_EQ(run.board.log, "set OXBO_IRQ_N low, set OXBO_IRQ_N high");
}

TEST(ScenarioRunner, FailsWhereTheBoardCannotDoIt) {
    Play run("fault NS.red EIO\nfault NS.red missing\nwait 1s");

    run.Until(1);

    EXPECT_EQ(run.board.log, "fault NS.red EIO");
    EXPECT_EQ(run.Verdicts(), "pfn");
    EXPECT_EQ(run.Message(), "this board cannot lose files");
}

TEST(ScenarioRunner, CallsAColorSteadyAfterASecond) {
    Play run("within 3s MS is steady green");
    run.Level(100, "MS.green", true);
    run.Until(1'099);
    EXPECT_EQ(run.Verdicts(), "n");
    run.Until(1'100);
    EXPECT_EQ(run.Verdicts(), "p");

    Play flashing("within 3s MS is steady green");
    for (int ms = 0; ms < 3'000; ms += 500)
        flashing.Level(ms, "MS.green", ms % 1'000 == 0);
    flashing.Until(3'001);
    EXPECT_EQ(flashing.Verdicts(), "f");
}

TEST(ScenarioRunner, TakesElementsThatAreLitTogetherForAColorOfTheirOwn) {
    Play run("never MS is red\nwithin 1s MS is red+green\nwithin 1s MS is green");

    run.Level(100, "MS.red", true);
    run.Level(101, "MS.green", true);
    run.Until(200);
    EXPECT_EQ(run.Verdicts(), "npn");
    run.Level(300, "MS.red", false);
    run.Until(400);
    run.runner.Finish(milliseconds(400));

    EXPECT_EQ(run.Verdicts(), "ppp") << run.Message();
}

TEST(ScenarioRunner, KnowsFlashingByTwoWholePhases) {
    Play run("within 5s NS is flashing green 500ms 500ms tolerance 20ms");
    run.Level(100, "NS.green", true);
    run.Level(619, "NS.green", false);
    run.Level(1'120, "NS.green", true);
    run.Until(1'124);
    EXPECT_EQ(run.Verdicts(), "n");
    run.Until(1'125);
    EXPECT_EQ(run.Verdicts(), "p");
}

TEST(ScenarioRunner, HasATighterToleranceByTheProgramsOwnTime) {
    for (const auto& [tolerance, verdict] :
         {std::pair{MACHINE_TIME_TOLERANCE, "p"}, std::pair{VIRTUAL_TIME_TOLERANCE, "f"}}) {
        Play run("within 3s NS is flashing green 500ms 500ms");
        run.runner.SetTolerance(tolerance);
        for (int i = 0; i < 8; ++i)
            run.Level(i * 506, "NS.green", i % 2 == 0);
        EXPECT_EQ(run.Verdicts(), verdict);
    }
}

TEST(ScenarioRunner, RefusesPhasesThatAreTooShortOrTooLong) {
    for (const int length : {479, 521}) {
        Play run("within 5s NS is flashing green 500ms 500ms tolerance 20ms");
        for (int i = 0; i < 8; ++i)
            run.Level(i * length, "NS.green", i % 2 == 0);
        run.Until(6'000);
        EXPECT_EQ(run.Verdicts(), "f") << length;
        EXPECT_NE(run.Message().find("green for " + std::to_string(length) + " ms, off for"), std::string::npos)
            << run.Message();
    }
}

TEST(ScenarioRunner, KnowsThatAnLedThatHasBecomeSteadyFlashesNoMore) {
    for (const auto& [wait, verdicts] : {std::pair{"1510ms", "pp"}, std::pair{"1550ms", "pf"}}) {
        Play run("wait " + std::string(wait) + "\nwithin 300ms NS is flashing green 500ms 500ms tolerance 20ms");
        run.Level(0, "NS.green", true);
        run.Level(500, "NS.green", false);
        run.Level(1'000, "NS.green", true);
        run.Until(3'000);
        EXPECT_EQ(run.Verdicts(), verdicts) << wait;
    }
}

TEST(ScenarioRunner, KnowsTogglingFromFlashing) {
    const auto toggle = [](Play& run) {
        for (int i = 0; i < 5; ++i) {
            run.Level(i * 500, "MS.green", i % 2 == 0);
            run.Level(i * 500 + 1, "MS.red", i % 2 != 0);
        }
        run.Until(2'400);
    };
    Play toggling("within 2s MS is toggling green red 500ms 500ms");
    toggle(toggling);
    EXPECT_EQ(toggling.Verdicts(), "p");
    Play flashing("within 2s MS is flashing green 500ms 500ms");
    toggle(flashing);
    EXPECT_EQ(flashing.Verdicts(), "f");
}

TEST(ScenarioRunner, EndsAtTheFirstNeverThatComesTrue) {
    Play run("never MS is red\nwithin 5s program exits with 0");

    run.Level(100, "MS.red", true);
    run.Until(200);
    run.runner.OnExit(0, milliseconds(300));
    run.runner.Finish(milliseconds(300));

    EXPECT_EQ(run.Verdicts(), "fn");
    EXPECT_EQ(run.Message(), "never expected: MS is red; seen at 105 ms");
}

TEST(ScenarioRunner, PassesNeversAtTheEndOfTheRun) {
    Play run("never MS is red\nnever program exits with 1");

    run.Level(100, "MS.green", true);
    EXPECT_FALSE(run.runner.IsDone()); // without sequential steps the program runs to its end
    run.runner.OnExit(0, milliseconds(300));
    EXPECT_TRUE(run.runner.IsDone());
    run.runner.Finish(milliseconds(300));

    EXPECT_EQ(run.Verdicts(), "pp");
}

TEST(ScenarioRunner, JudgesEveryWholePulse) {
    const struct {
        const char* limits;
        const char* verdict;
        const char* message;
    } ROWS[] = {
        {"", "p", ""},
        {" for at least 1ms", "p", ""},
        {" for at least 2ms", "f",
         "expected every high pulse of OXBO_RESET1_N to last at least 2.0 ms; seen one of 1.0 ms"},
        {" for at most 3ms", "p", ""},
        {" for at most 2ms", "f",
         "expected every high pulse of OXBO_RESET1_N to last at most 2.0 ms; seen one of 3.0 ms"},
        {" for at least 1ms and at most 3ms", "p", ""},
    };
    for (const auto& row : ROWS) {
        Play run("expect OXBO_RESET1_N pulses high" + std::string(row.limits));
        for (const int ms : {10, 20, 30})
            run.Level(ms, "OXBO_RESET1_N", true), run.Level(ms + ms / 10, "OXBO_RESET1_N", false);
        run.Level(40, "OXBO_RESET1_N", true); // incomplete, so not a pulse
        run.runner.Finish(milliseconds(500));
        EXPECT_EQ(run.Verdicts(), row.verdict) << row.limits;
        EXPECT_EQ(run.Message(), row.message);
    }
}

TEST(ScenarioRunner, MissesAPulseThatNeverCame) {
    Play run("expect OXBO_RESET1_N pulses low");
    run.Level(10, "OXBO_RESET1_N", true); // low from the beginning is not a pulse

    run.runner.Finish(milliseconds(500));

    EXPECT_EQ(run.Message(), "expected a low pulse of OXBO_RESET1_N; seen none");
}

TEST(ScenarioRunner, ActsWhenAConditionBecomesTrue) {
    Play run("when OXBO_RESET1_N is high after 20ms set OXBO_IRQ_N low\nwhen OXBO_RESET1_N is low send TERM\n"
             "when MS is green fault NS.red EIO\nwhen program starts after 5ms module ready after 250ms\nwait 1s");
    run.Until(10);
    EXPECT_EQ(run.board.log, "ready 250") << "the line is low from the beginning";
    run.Level(100, "OXBO_RESET1_N", true);
    run.Level(110, "MS.green", true);
    run.Level(112, "OXBO_RESET1_N", false);
    run.Level(114, "OXBO_RESET1_N", true);
    run.Until(900);
    EXPECT_EQ(run.board.log, "ready 250, send 15, fault NS.red EIO, set OXBO_IRQ_N low");
    run.Until(1'000);
    EXPECT_EQ(run.Verdicts(), "ppppp");
    EXPECT_TRUE(run.runner.IsDone());
}

TEST(ScenarioRunner, FillsTheWebLogsDisk) {
    Play run("fault web log ENOSPC\nfault web log none");
    run.Until(10);
    EXPECT_EQ(run.board.log, "web log full, web log not full");
}

TEST(ScenarioRunner, PassesAStepThatHadNoReasonToAct) {
    Play run("when MS is red send KILL\nwait 10ms");
    run.Until(20);
    run.runner.Finish(milliseconds(20));
    EXPECT_EQ(run.Verdicts(), "pp");
    EXPECT_EQ(run.board.log, "");
}

TEST(ScenarioRunner, FailsAStepThatTheBoardCannotDo) {
    Play run("when MS is green fault MS.red missing\nwait 1s");
    run.Level(10, "MS.green", true);
    run.Until(100);
    EXPECT_EQ(run.Verdicts(), "fn");
    EXPECT_EQ(run.Message(), "this board cannot lose files");
}

TEST(ScenarioRunner, ActsBeforeTheFirstInstructionWhereNoTimeIsGiven) {
    const Scenario scenario = ParseScenario(
        "x",
        "when program starts fault MS.red EIO\nwhen program starts send HUP\nwhen program starts after 1ms send TERM",
        NAMES);
    FakeBoard board;
    ScenarioRunner runner(scenario, NAMES, board);
    runner.ActAtStart();
    EXPECT_EQ(board.log, "fault MS.red EIO");
    runner.OnTime(milliseconds(0));
    EXPECT_EQ(board.log, "fault MS.red EIO, send 1");
    EXPECT_EQ(runner.NextTime(), milliseconds(1));
}

TEST(ScenarioRunner, ForbidsWhatIsTrueAtTheSameTime) {
    Play run("never program exits with 1 and MS is not red\nwithin 1s program ends");
    run.Level(10, "MS.green", true);
    run.runner.OnExit(1, milliseconds(100));
    EXPECT_EQ(run.Message(), "never expected: program exits with 1 and MS is not red; seen at 100 ms");

    Play red("never program exits with 1 and MS is not red\nwithin 1s program ends");
    red.Level(10, "MS.red", true);
    red.runner.OnExit(1, milliseconds(100));
    red.runner.Finish(milliseconds(100));
    EXPECT_EQ(red.Verdicts(), "pp");
}

TEST(ScenarioRunner, SeesAnotherColourOnlyWhenItIsKnown) {
    Play run("within 1s MS is green\nwithin 1s MS is not green");
    run.Level(10, "MS.green", true);
    run.Until(50);
    run.Level(100, "MS.green", false);
    run.Until(104);
    EXPECT_EQ(run.Verdicts(), "pn") << "off may be the instant between two colours";
    run.Until(110);
    EXPECT_EQ(run.Verdicts(), "pp");
}

TEST(ScenarioRunner, AwaitsAnyEndOfTheProgram) {
    for (const int signal : {SIGTERM, SIGSEGV}) {
        Play run("never MS is red\nwithin 1s program ends\nwhen program starts send TERM");
        run.Until(10);
        run.runner.OnKilled(signal, milliseconds(50));
        run.runner.Finish(milliseconds(50));
        EXPECT_EQ(run.Verdicts(), signal == SIGTERM ? "ppp" : "fpp") << "a crash is not what the step awaited";
    }
    Play late("within 1s program ends");
    late.Until(1'100);
    EXPECT_EQ(late.Message(), "expected within 1.000 s: program ends; seen at 1.000 s: the program is running");
}

TEST(ScenarioRunner, JudgesWhatTheProgramPrints) {
    Play run("within 1s stdout has ready\nnever stderr has failed\nwithin 1s stderr has done");
    run.runner.OnOutput(ProgramStream::ERRORS, "ready", milliseconds(10));
    run.runner.OnOutput(ProgramStream::OUTPUT, "rea", milliseconds(20));
    run.runner.OnOutput(ProgramStream::OUTPUT, "dy failed done\n", milliseconds(30));
    EXPECT_EQ(run.Verdicts(), "pnn");
    run.Until(2'000);
    EXPECT_EQ(run.Message(),
              "expected within 1.000 s: stderr has \"done\"; seen at 1.030 s: \"ready\" as the last line");

    Play silent("within 1s stdout has ready");
    silent.Until(2'000);
    EXPECT_EQ(silent.Message(), "expected within 1.000 s: stdout has \"ready\"; seen at 1.000 s: no output");

    Play failing("never stderr has failed\nwait 1s");
    failing.runner.OnOutput(ProgramStream::ERRORS, "it has fai", milliseconds(5));
    failing.runner.OnOutput(ProgramStream::ERRORS, "led", milliseconds(6));
    EXPECT_EQ(failing.Message(), "never expected: stderr has \"failed\"; seen at 6.0 ms");
}

TEST(ScenarioRunner, SaysSinceWhenAPulseHasNotEnded) {
    Play run("expect OXBO_RESET1_N pulses high");
    run.Level(10, "OXBO_RESET1_N", true);

    run.runner.Finish(milliseconds(500));

    EXPECT_EQ(run.Message(), "expected a high pulse of OXBO_RESET1_N; seen none that ended: it is high since 10 ms");
}

TEST(ScenarioRunner, DecidesTheRestByWhatTheEndedProgramLeft) {
    Play run("within 1s program is killed by TERM\nwithin 1s MS is steady red\nwithin 1s NS is green");

    run.Level(100, "MS.red", true);
    run.runner.OnKilled(SIGTERM, milliseconds(101));

    EXPECT_EQ(run.Verdicts(), "ppf");
    EXPECT_TRUE(run.runner.IsDone());
}

TEST(ScenarioRunner, CannotActOnAnEndedProgram) {
    Play run("within 1s program exits with 3\nset OXBO_IRQ_N low");

    run.runner.OnExit(3, milliseconds(10));

    EXPECT_EQ(run.Verdicts(), "pf");
    EXPECT_EQ(run.Message(), "the program had exited with 3 at 10 ms, before this step");
    EXPECT_EQ(run.board.log, "");
}

TEST(ScenarioRunner, SaysOfAFailedWaitThatTheProgramHadEnded) {
    const struct {
        int code;
        int signal;
        const char* said;
    } ROWS[] = {
        {3, 0, "exited with 3 at 10 ms"},
        {126, 0, "exited with 126, as one that cannot be run, at 10 ms"},
        {127, 0, "exited with 127, as one that cannot be run, at 10 ms"},
        {0, SIGSEGV, "been killed by SEGV at 10 ms"},
    };
    for (const auto& row : ROWS) {
        Play run("within 5s OXBO_RL is high");
        if (row.signal)
            run.runner.OnKilled(row.signal, milliseconds(10));
        else
            run.runner.OnExit(row.code, milliseconds(10));
        EXPECT_EQ(run.Message(), "expected within 5.000 s: OXBO_RL is high; seen at 10 ms: OXBO_RL low since 0.0 ms; "
                                 "the program had " +
                                     std::string(row.said));
    }

    Play late("within 1s OXBO_RL is high"); // the end is reported first, but was later
    late.runner.OnExit(3, milliseconds(1'200));
    EXPECT_EQ(late.Message(), "expected within 1.000 s: OXBO_RL is high; seen at 1.000 s: OXBO_RL low since 0.0 ms");
}

TEST(ScenarioRunner, FailsAWaitWhenTheProgramEndsAnotherWay) {
    Play run("within 9s program exits with 0");

    run.runner.OnExit(1, milliseconds(10));

    EXPECT_EQ(run.Message(), "expected within 9.000 s: program exits with 0; seen at 10 ms: the program exited with 1");
}

TEST(ScenarioRunner, PassesNothingWhenTheProgramCrashed) {
    Play killed("never MS is red\nexpect OXBO_RL pulses high");
    killed.runner.OnKilled(SIGSEGV, milliseconds(20));
    killed.runner.Finish(milliseconds(30));
    EXPECT_EQ(killed.Verdicts(), "ff");
    EXPECT_EQ(killed.Message(), "the program was killed by SEGV at 20 ms");

    for (const int code : {126, 127}) {
        Play missing("never MS is red");
        missing.runner.OnExit(code, milliseconds(20));
        missing.runner.Finish(milliseconds(30));
        EXPECT_EQ(missing.Message(), "the program could not be run (exit code " + std::to_string(code) + ") at 20 ms");
    }

    for (const char* text : {"program is killed by TERM", "program exits with 11", "MS is off"}) {
        Play other("never MS is red\nwithin 1s " + std::string(text));
        other.runner.OnKilled(SIGSEGV, milliseconds(20));
        other.runner.Finish(milliseconds(30));
        EXPECT_NE(other.Verdicts().find('f'), std::string::npos) << text;
    }

    Play meant("never MS is red\nsend KILL\nwithin 1s program is killed by KILL");
    meant.runner.OnKilled(SIGKILL, milliseconds(20));
    meant.runner.Finish(milliseconds(30));
    EXPECT_EQ(meant.Verdicts(), "ppp");
}

TEST(ScenarioRunner, TakesNoEndForACrashThatAPassedStepAwaited) {
    Play killed("within 1s program is killed by SEGV\nnever MS is red");
    killed.runner.OnKilled(SIGSEGV, milliseconds(20));
    killed.runner.Finish(milliseconds(30));
    EXPECT_EQ(killed.Verdicts(), "pp") << killed.Message();

    for (const int code : {126, 127}) {
        Play exited("never MS is red\nwithin 1s program exits with " + std::to_string(code));
        exited.runner.OnExit(code, milliseconds(20));
        exited.runner.Finish(milliseconds(30));
        EXPECT_EQ(exited.Verdicts(), "pp") << exited.Message();
    }

    // A wait that never began does not count.
    Play unreached("never MS is red\nwithin 1ms MS is red\nwithin 1s program is killed by SEGV");
    unreached.runner.OnKilled(SIGSEGV, milliseconds(20));
    unreached.runner.Finish(milliseconds(30));
    EXPECT_EQ(unreached.Verdicts(), "pfn");
}

TEST(ScenarioRunner, FailsAStepThatTheRunDidNotReach) {
    Play run("wait 10s\nwait 1s");

    run.Until(100);
    run.runner.Finish(milliseconds(100));
    run.runner.Finish(milliseconds(200));

    EXPECT_EQ(run.Verdicts(), "ff");
    EXPECT_EQ(run.Message(), "the run ended at 100 ms before this step");
}

TEST(ScenarioRunner, FindsRecordsOfAllOfTheRun) {
    Play run("within 1s reboot is called\nwithin 1s web log has pdat\nwithin 1s system log has 10%");

    run.runner.OnWebLog("+Update", milliseconds(10));
    run.runner.OnSystemLog("<14>gateway: 10%", milliseconds(20));
    run.runner.OnReboot(milliseconds(30));

    EXPECT_EQ(run.Verdicts(), "ppp");
}
