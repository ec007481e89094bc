// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <ctime>
#include <deque>
#include <fstream>
#include <functional>
#include <optional>
#include <string>
#include <utility>

#include "board/control/IBoardControl.h"
#include "board/loop/ILoopPart.h"
#include "board/model/BoardState.h"
#include "board/scenario/JUnit.h"
#include "board/scenario/Scenario.h"
#include "board/scenario/ScenarioParser.h"
#include "board/scenario/ScenarioRunner.h"

namespace VelrixBoard {

// The names that a scenario for this board may use.
ScenarioNames NamesOf(const BoardModel& model);

// A scenario to judge a board by, if there is one, and where to report the results.
struct ScenarioOptions {
    std::optional<std::string> file{};
    std::optional<std::string> junit{};
    std::optional<std::string> name{}; // of the report's suite; the file's name if not given

    // Whether the program's time has been the board's so far; none: it is the machine's.
    std::function<bool()> hasOwnTime{};
};

// Plays a scenario on a board and judges the run, with times since the first start of the program. After the last step
// it ends the program, with SIGTERM and, END_LIMIT later, SIGKILL; it does not judge what happens then.
class ScenarioPlayer final : public BoardObserver, public ILoopPart, private IScenarioBoard {
public:
    static constexpr std::chrono::seconds END_LIMIT{5};

    // Reads the scenario. Throws ScenarioError for an invalid one, BoardError when the report cannot be written.
    ScenarioPlayer(const ScenarioOptions& options, const BoardState& boardState, IBoardControl& boardControl);

    const Scenario& Steps() const { return scenario; }

    // Whether it judges or reports what the program prints there: the board then passes the stream on and observes it.
    bool Hears(ProgramStream stream) const;

    void OnChange(std::size_t signal, bool level, BoardTime time) override {
        Keep(time, [this, name = state.Name(signal), level](ScenarioTime at) { runner.OnLevel(name, level, at); });
    }
    void OnWebLog(std::string_view record, BoardTime time) override {
        Keep(time, [this, text = std::string(record)](ScenarioTime at) { runner.OnWebLog(text, at); });
    }
    void OnReboot(std::string_view, BoardTime time) override {
        Keep(time, [this](ScenarioTime at) { runner.OnReboot(at); });
    }
    void OnSyslog(std::string_view record, BoardTime time) override {
        Keep(time, [this, text = std::string(record)](ScenarioTime at) { runner.OnSystemLog(text, at); });
    }
    void OnOutput(ProgramStream stream, std::string_view piece, BoardTime time) override;
    void OnProgramStarted(BoardTime time) override;
    void OnProgramEnded(int waitStatus, BoardTime time) override {
        programRuns = false;
        ended = {waitStatus, time};
    }

    std::optional<BoardTime> Due() const override;
    void Run(BoardTime now) override;

    // After the run: prints the verdict on standard error, writes the report, and returns the command's exit code, 0 if
    // every step passed, else 1. Throws BoardError when the report cannot be written.
    int Finish(BoardTime now);

private:
    Scenario Read(const std::string& file);
    void WriteReport(const std::string& text);

    void Set(const std::string& line, bool high) override {
        control.DriveInput(FindSignal(state, line), high, InputDriver::SCENARIO);
    }
    void SetFault(const std::string& signal, const std::optional<Fault>& fault) override;
    void Send(int signal) override { control.SignalProgram(signal); }
    void SetWebLogFull(bool isFull) override { control.SetWebLogFull(isFull); }
    void SetReadyAfter(std::optional<std::chrono::milliseconds> delay) override { control.SetOxboReadyAfter(delay); }
    void SetClock(const WallClockChange& change) override { control.ChangeWallClock(change); }

    using Event = std::function<void(ScenarioTime)>;

    // Queues an event for the part's turn, since observers must not act on the board, and until the program's start,
    // which may be reported after its first actions.
    void Keep(BoardTime time, Event event) { events.emplace_back(time, std::move(event)); }
    void Tell();
    void EndProgram(BoardTime now);
    ScenarioTime TimeOf(BoardTime time) const;

    const BoardState& state;
    IBoardControl& control;
    const std::function<bool()> hasOwnTime;
    const std::string reportFile;
    const std::string suite;
    std::ofstream report;
    CapturedOutput captured; // for the report
    const ScenarioNames names;
    const Scenario scenario;
    ScenarioRunner runner;
    std::deque<std::pair<BoardTime, Event>> events;
    std::optional<BoardTime> began;
    std::time_t beganAt = 0; // the same moment, for the report
    bool programRuns = false;
    // The program's wait status. The runner gets it only in Finish, since the board may restart the program.
    std::optional<std::pair<int, BoardTime>> ended;
    bool isAsked = false;          // the program, to end
    std::optional<BoardTime> kill; // when it is killed
};

} // namespace VelrixBoard
