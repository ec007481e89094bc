// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "board/scenario/LedHistory.h"
#include "board/scenario/LogHistory.h"
#include "board/scenario/Scenario.h"

namespace VelrixBoard {

// What a scenario does to a board.
class IScenarioBoard {
public:
    virtual ~IScenarioBoard() = default;

    virtual void Set(const std::string& line, bool high) = 0;
    // Breaks the signal's value file, or with nothing makes it whole again. Throws std::exception with a text for
    // people where this board cannot do it.
    virtual void SetFault(const std::string& signal, const std::optional<Fault>& fault) = 0;
    virtual void Send(int signal) = 0;
};

// How one step ended.
struct StepResult {
    enum class Verdict { PASSED, FAILED, NOT_REACHED };

    Verdict verdict = Verdict::NOT_REACHED;
    std::string message;  // of a failed one: what was expected, what was seen, and when
    ScenarioTime time{0}; // when it was decided
};

// Plays a scenario on a running board and judges what happens there.
//
// The board tells every event with its time, in order, and calls OnTime at NextTime() at the latest. The steps that
// stand in a row are played one after the other; the first that fails ends the scenario, as does a "never" that came
// true. Has no clock of its own: the same events give the same verdict, however late they are told.
class ScenarioRunner final {
public:
    // Both must outlive the runner.
    ScenarioRunner(const Scenario& scenario, const ScenarioNames& names, IScenarioBoard& board);

    // A line "OXBO_RL" or an LED element "MS.green". At the beginning each one once, with time 0.
    void OnLevel(const std::string& signal, bool high, ScenarioTime time);
    void OnWebLog(std::string_view record, ScenarioTime time);
    void OnSystemLog(std::string_view record, ScenarioTime time);
    void OnReboot(ScenarioTime time);
    // The program is gone: steps that wait are decided by what is to be seen now and will not change any more.
    void OnExit(int code, ScenarioTime time);
    void OnKilled(int signal, ScenarioTime time);
    void OnTime(ScenarioTime now);

    // When OnTime is to be called next if nothing happens before; nothing: no need.
    std::optional<ScenarioTime> NextTime() const;

    // Nothing is left to wait for: the board may end the program.
    bool IsDone() const { return done; }

    // Ends the judging, with the "never" and "expect" steps decided by the run up to now; a run that ended by a crash
    // that no passed step awaited passes none of them. Once; done before if it is not needed.
    void Finish(ScenarioTime now);

    bool HasPassed() const;

    // One for each step of the scenario, in its order.
    const std::vector<StepResult>& Results() const { return results; }

private:
    struct LineHistory {
        bool high = false;
        ScenarioTime since{0};
        std::vector<ScenarioTime> pulses[2]; // the lengths of whole phases, by level
        bool changed = false;                // the level before it was seen from its beginning
    };

    void ExpectTexts();
    void Advance(ScenarioTime now);
    bool Holds(const Condition& condition, ScenarioTime now) const;
    bool Alternates(const LedAlternates& condition) const;
    // How the program that is gone ended and when, behind "the program had ".
    std::string End() const;
    // Why a wait up to the limit was given up or could not come true any more: the program's end, where the condition
    // does not tell it anyway; empty: it ran on.
    std::string CutShort(const Condition& condition, ScenarioTime limit) const;
    // How the program ended in a way that no step awaited or caused; empty: it did not.
    std::string Crash() const;
    std::string Seen(const Condition& condition) const;
    void Settle(ScenarioTime now);
    void Decide(std::size_t step, StepResult::Verdict verdict, std::string message, ScenarioTime time);
    void CheckNever(ScenarioTime now);
    void Judge(std::size_t step, const Pulses& pulses, ScenarioTime now);

    const Scenario& scenario;
    IScenarioBoard& board;
    std::vector<StepResult> results;
    std::size_t next = 0;      // the step that is being waited for
    ScenarioTime stepBegin{0}; // when the one before it was done
    bool done = false;
    bool finished = false;
    std::map<std::string, LedHistory> leds;
    std::map<std::string, LineHistory> lines;
    LogHistory webLog;
    LogHistory systemLog;
    bool rebootCalled = false;
    std::optional<int> exitCode;
    std::optional<int> killedBy;
    ScenarioTime programEnd{0};
    ScenarioTime last{0};
};

} // namespace VelrixBoard
