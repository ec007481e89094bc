// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <deque>
#include <fstream>
#include <functional>
#include <optional>
#include <string>
#include <utility>

#include "board/control/IBoardControl.h"
#include "board/loop/ILoopPart.h"
#include "board/model/BoardState.h"
#include "board/scenario/Scenario.h"
#include "board/scenario/ScenarioRunner.h"

namespace VelrixBoard {

// The names that a scenario for this board may use.
ScenarioNames NamesOf(const BoardModel& model);

// A scenario to judge a board by, if there is one, and where to report the results.
struct ScenarioOptions {
    std::optional<std::string> file;
    std::optional<std::string> junit;
};

// Plays a scenario on a board and judges the run. It counts times from the first start of the program. When there is
// nothing left to wait for, it ends the program: SIGTERM, and SIGKILL for one that has not ended END_LIMIT later; what
// happens then is not judged.
class ScenarioPlayer final : public BoardObserver, public ILoopPart, private IScenarioBoard {
public:
    static constexpr std::chrono::seconds END_LIMIT{5};

    // Reads the scenario. Throws ScenarioError for one that is wrong, BoardError for a report that cannot be written.
    ScenarioPlayer(const ScenarioOptions& options, const BoardState& boardState, IBoardControl& boardControl);

    const Scenario& Steps() const { return scenario; }

    void OnChange(std::size_t signal, bool level, BoardTime time) override;
    void OnWebLog(std::string_view record, BoardTime time) override;
    void OnReboot(std::string_view, BoardTime time) override {
        Keep(time, [this](ScenarioTime at) { runner.OnReboot(at); });
    }
    void OnSyslog(std::string_view record, BoardTime time) override;
    void OnProgramStarted(BoardTime time) override;
    void OnProgramEnded(int waitStatus, BoardTime time) override;

    std::optional<BoardTime> Due() const override;
    void Run(BoardTime now) override;

    // The run is over. Prints the verdict on standard error, writes the report, and returns the command's exit code: 0
    // when every step passed, otherwise 1. Throws BoardError when the report cannot be written.
    int Finish(BoardTime now);

private:
    void Set(const std::string& line, bool high) override { control.DriveInput(FindSignal(state, line), high); }
    void SetFault(const std::string& signal, const std::optional<Fault>& fault) override;
    void Send(int signal) override { control.SignalProgram(signal); }

    using Event = std::function<void(ScenarioTime)>;

    // Events wait for the part's turn, since observers must not act on the board, and for the start of the program,
    // which may be told later than what the program did first.
    void Keep(BoardTime time, Event event) { events.emplace_back(time, std::move(event)); }
    void Tell();
    void EndProgram(BoardTime now);
    ScenarioTime TimeOf(BoardTime time) const;

    const BoardState& state;
    IBoardControl& control;
    const std::string reportFile;
    std::ofstream report;
    const ScenarioNames names;
    const Scenario scenario;
    ScenarioRunner runner;
    std::deque<std::pair<BoardTime, Event>> events;
    std::optional<BoardTime> began;
    bool programRuns = false;
    // How the program ended, with a wait status. Told at the end alone, since the board may run the program anew.
    std::optional<std::pair<int, BoardTime>> ended;
    bool told = false;             // the program was told to end
    std::optional<BoardTime> kill; // when it is killed
};

} // namespace VelrixBoard
