// SPDX-License-Identifier: Apache-2.0
#include "board/virtual/ProgramLife.h"

#include <csignal>
#include <cstring>

#include <gtest/gtest.h>
#include <sys/wait.h>

#include "board/base/BoardError.h"

namespace VelrixBoard {
namespace {

using Kind = InitMessage::Kind;
using State = ProgramLife::State;

// Writes down what the life of the program does to the board, and what observers hear of it, in one order.
class LifeLog final : public IProgramHost, public BoardObserver {
public:
    void Order(InitOrder order) override {
        static constexpr const char* NAMES[] = {"begin", "end all", "kill all", "run anew", "leave"};
        Add(NAMES[static_cast<int>(order)]);
    }
    void KillInit() override { Add("kill init"); }
    void Signal(int number) override { Add(std::string("signal ") + ::sigabbrev_np(number)); }
    void PowerUp() override { Add("power up"); }
    void RecordSystemCall(bool restart) override { Add(restart ? "record restart" : "record halt"); }
    void Say(const std::string& what) override { Add("\"" + what + "\""); }

    void OnReboot(std::string_view call, BoardTime) override { Add("told of " + std::string(call)); }
    void OnProgramStarted(BoardTime) override { Add("told of start"); }
    void OnProgramEnded(int status, BoardTime) override { Add("told of end " + std::to_string(status)); }

    // What was added since the last call.
    std::string Take() { return std::exchange(text, ""); }

private:
    void Add(const std::string& what) { text += (text.empty() ? "" : ", ") + what; }

    std::string text;
};

class ProgramLifeTest : public testing::Test {
protected:
    explicit ProgramLifeTest(bool restarts = false)
        : life(
              log, state, [] { return BoardTime(0); }, restarts) {
        state.Add(log);
    }

    // What a message of process 1 leads to.
    std::string After(Kind kind, int status = 0, const char* text = "") {
        InitMessage message{kind, status, {}};
        std::strcpy(message.text, text);
        life.Obey(message);
        return log.Take();
    }

    std::string AfterEnd(bool atOnce) {
        life.End(atOnce, "a second SIGTERM");
        return log.Take();
    }

    std::string AfterReboot(const char* call) {
        life.Reboot(call);
        return log.Take();
    }

    // The message of what Status throws.
    std::string Complaint(int initStatus = 0) const {
        try {
            return "none: " + std::to_string(life.Status(initStatus));
        } catch (const BoardError& error) {
            return error.what();
        }
    }

    BoardModel model;
    BoardState state{model};
    LifeLog log;
    ProgramLife life;
};

class RestartingLifeTest : public ProgramLifeTest {
protected:
    RestartingLifeTest() : ProgramLifeTest(true) {}

    void RebootAndComeDown() {
        After(Kind::STARTED);
        AfterReboot("reboot");
        After(Kind::ENDED, SIGTERM);
        EXPECT_EQ(After(Kind::DOWN), "power up, run anew");
    }
};

TEST_F(ProgramLifeTest, RestartsTheProgramWhenTheUserWantsIt) {
    EXPECT_THROW(life.Restart(), BoardError);
    After(Kind::STARTED);

    life.Restart();
    EXPECT_EQ(log.Take(), "end all");
    EXPECT_THROW(life.Restart(), BoardError);
    EXPECT_EQ(After(Kind::ENDED, SIGTERM), "told of end 0");
    EXPECT_EQ(After(Kind::DOWN), "power up, run anew");
    EXPECT_EQ(After(Kind::STARTED), "told of start");

    // Once.
    AfterReboot("reboot");
    After(Kind::ENDED, SIGTERM);
    EXPECT_EQ(After(Kind::DOWN), "leave");
}

TEST_F(ProgramLifeTest, RestartsNoProgramThatWasAskedToEnd) {
    After(Kind::STARTED);
    life.Restart();
    log.Take();
    EXPECT_EQ(AfterEnd(false), "signal TERM");
    After(Kind::ENDED, SIGTERM);
    EXPECT_EQ(After(Kind::DOWN), "leave");
    EXPECT_THROW(life.Restart(), BoardError);
}

TEST_F(ProgramLifeTest, GoesFromTheStartToTheEndByItself) {
    EXPECT_EQ(life.Current(), State::NOT_STARTED);
    EXPECT_FALSE(life.TakesSignals());
    EXPECT_EQ(After(Kind::MOUNTED), "");
    EXPECT_EQ(life.Current(), State::NOT_STARTED);

    EXPECT_EQ(After(Kind::STARTED), "told of start");
    EXPECT_EQ(life.Current(), State::RUNNING);
    EXPECT_TRUE(life.TakesSignals());
    EXPECT_FALSE(life.HasEnded());

    EXPECT_EQ(After(Kind::ENDED, W_EXITCODE(3, 0)), "told of end 768");
    EXPECT_EQ(life.Current(), State::ENDED);
    EXPECT_TRUE(life.TakesSignals());
    EXPECT_TRUE(life.HasEnded());

    EXPECT_EQ(After(Kind::DOWN), "leave");
    EXPECT_EQ(life.Current(), State::DOWN);
    EXPECT_FALSE(life.TakesSignals());
    EXPECT_EQ(life.Status(0), W_EXITCODE(3, 0));
}

TEST_F(ProgramLifeTest, PassesSignalsOnWhileTheProgramRuns) {
    const auto afterSignal = [this] {
        life.Signal(SIGUSR1);
        return log.Take();
    };

    EXPECT_EQ(afterSignal(), "");
    After(Kind::STARTED);
    EXPECT_EQ(afterSignal(), "signal USR1");
    After(Kind::ENDED);
    EXPECT_EQ(afterSignal(), "");
    After(Kind::DOWN);
    EXPECT_EQ(afterSignal(), "");
}

TEST_F(ProgramLifeTest, SaysWhyTheBoardCouldNotBeMade) {
    life.RequireBoard();
    After(Kind::FAILED, 0, "no mounts");
    EXPECT_THROW(life.RequireBoard(), BoardError);
}

TEST_F(ProgramLifeTest, HasAProgramEndThatIsNotThereYetWhenItIs) {
    EXPECT_EQ(AfterEnd(false), "");
    EXPECT_EQ(After(Kind::STARTED), "signal TERM, told of start");
    EXPECT_EQ(AfterEnd(false), "signal TERM");
}

TEST_F(ProgramLifeTest, KillsProcess1WhenThereIsNoProgram) {
    EXPECT_EQ(AfterEnd(true), "\"kills all that runs on the board (a second SIGTERM)\", kill init");
    EXPECT_TRUE(life.IsKilled());
    EXPECT_EQ(AfterEnd(true), "");
    EXPECT_EQ(Complaint(SIGKILL), "asked to end (SIGTERM) before the program ran");
}

TEST_F(ProgramLifeTest, HasProcess1KillAllWhileTheProgramRuns) {
    After(Kind::STARTED);
    EXPECT_EQ(AfterEnd(true), "\"kills all that runs on the board (a second SIGTERM)\", kill all");
    // Process 1 reaped the program among the others.
    EXPECT_EQ(After(Kind::DOWN), "told of end 9, leave");
    EXPECT_EQ(life.Status(0), SIGKILL);
}

TEST_F(ProgramLifeTest, KillsWhatTheProgramLeftByTheFirstSignal) {
    After(Kind::STARTED);
    After(Kind::ENDED);
    EXPECT_EQ(AfterEnd(false), "\"kills what the program left running (SIGTERM)\", kill all");
    EXPECT_EQ(After(Kind::DOWN), "leave");
    EXPECT_EQ(AfterEnd(false), "");
}

TEST_F(ProgramLifeTest, KillsProcess1ThatDoesNotLeave) {
    After(Kind::STARTED);
    After(Kind::ENDED);
    After(Kind::DOWN);
    EXPECT_EQ(AfterEnd(false), "\"kills what the program left running (SIGTERM)\", kill init");
}

TEST_F(ProgramLifeTest, TakesTheEndByARebootForAGoodOne) {
    struct Row {
        int status;
        int expected;
    };
    for (const Row& row : {Row{SIGTERM, 0}, {SIGKILL, 0}, {SIGSEGV, SIGSEGV}, {W_EXITCODE(4, 0), W_EXITCODE(4, 0)}}) {
        ProgramLife own(
            log, state, [] { return BoardTime(0); }, false);
        own.Obey({Kind::STARTED, 0, {}});
        own.Reboot("reboot");
        own.Obey({Kind::ENDED, row.status, {}});
        EXPECT_EQ(own.Status(0), row.expected);
    }
    // Without a reboot it is what it is.
    After(Kind::STARTED);
    After(Kind::ENDED, SIGTERM);
    EXPECT_EQ(life.Status(0), SIGTERM);
}

TEST_F(ProgramLifeTest, EndsAllByTheFirstCallThatMeansAReboot) {
    After(Kind::STARTED);
    EXPECT_EQ(AfterReboot("reboot --help"), "told of reboot --help");
    EXPECT_EQ(AfterReboot("halt"), "told of halt, end all");
    EXPECT_EQ(AfterReboot("reboot"), "told of reboot");
    After(Kind::ENDED, SIGTERM);
    EXPECT_EQ(After(Kind::DOWN), "leave");
}

TEST_F(ProgramLifeTest, EndsByTheRebootSystemCallThatTheLibrarySees) {
    After(Kind::STARTED);
    life.RebootBySystemCall(true);
    EXPECT_EQ(log.Take(), "record restart, kill all");
    EXPECT_EQ(After(Kind::DOWN), "leave");
    EXPECT_EQ(life.Status(0), 0);
}

TEST_F(ProgramLifeTest, ReadsTheRebootSystemCallFromTheEndOfProcess1) {
    After(Kind::STARTED);
    EXPECT_EQ(life.Status(SIGHUP), 0);
    EXPECT_EQ(log.Take(), "record restart");
    EXPECT_EQ(life.Status(SIGINT), 0);
    EXPECT_EQ(log.Take(), "record halt");
    EXPECT_EQ(Complaint(SIGKILL), "the board's first process ended unexpectedly");
    EXPECT_EQ(Complaint(W_EXITCODE(1, 0)), "the board's first process ended unexpectedly");
}

TEST_F(RestartingLifeTest, RunsTheProgramAgainAfterACallForARestart) {
    RebootAndComeDown();
    EXPECT_EQ(life.Current(), State::RESTARTING);
    EXPECT_FALSE(life.TakesSignals());
    EXPECT_FALSE(life.HasEnded());

    EXPECT_EQ(After(Kind::STARTED), "told of start");
    // A call of the new run counts anew.
    EXPECT_EQ(AfterReboot("reboot"), "told of reboot, end all");
    EXPECT_EQ(After(Kind::ENDED, SIGTERM), "told of end 0");
    EXPECT_EQ(After(Kind::DOWN), "power up, run anew");
    After(Kind::STARTED);
    EXPECT_EQ(After(Kind::ENDED, SIGTERM), "told of end 15");
    EXPECT_EQ(After(Kind::DOWN), "leave");
}

TEST_F(RestartingLifeTest, DoesNotRunTheProgramAgainAfterAHaltOrAnOrderToEnd) {
    After(Kind::STARTED);
    AfterReboot("poweroff");
    After(Kind::ENDED, SIGTERM);
    EXPECT_EQ(After(Kind::DOWN), "leave");

    ProgramLife told(
        log, state, [] { return BoardTime(0); }, true);
    told.Obey({Kind::STARTED, 0, {}});
    told.Reboot("reboot");
    told.End(false, "");
    told.Obey({Kind::ENDED, SIGTERM, {}});
    log.Take();
    told.Obey({Kind::DOWN, 0, {}});
    EXPECT_EQ(log.Take(), "leave");
}

TEST_F(RestartingLifeTest, DoesNotRunTheProgramAgainAfterTheRebootSystemCall) {
    After(Kind::STARTED);
    life.RebootBySystemCall(true);
    log.Take();
    EXPECT_EQ(After(Kind::DOWN), "leave");
}

TEST_F(RestartingLifeTest, EndsTheProgramThatIsAboutToBeRunAgain) {
    RebootAndComeDown();
    EXPECT_EQ(AfterEnd(false), "");
    EXPECT_EQ(After(Kind::STARTED), "signal TERM, told of start");
}

TEST_F(RestartingLifeTest, KillsProcess1ThatIsAboutToRunTheProgramAgain) {
    RebootAndComeDown();
    EXPECT_EQ(AfterEnd(true), "\"kills all that runs on the board (a second SIGTERM)\", kill init");
    EXPECT_EQ(Complaint(SIGKILL), "asked to end (SIGTERM) before the program ran");
}

} // namespace
} // namespace VelrixBoard
