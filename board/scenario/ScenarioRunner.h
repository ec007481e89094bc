// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "board/model/BoardState.h"
#include "board/scenario/LedHistory.h"
#include "board/scenario/LogHistory.h"
#include "board/scenario/Scenario.h"

namespace VelrixBoard {

// The actions of a scenario on a board.
class IScenarioBoard {
public:
    virtual ~IScenarioBoard() = default;

    virtual void Set(const std::string& line, bool high) = 0;
    // Injects a fault into the signal's value file, or removes it. Throws std::exception with a message where this
    // board cannot.
    virtual void SetFault(const std::string& signal, const std::optional<Fault>& fault) = 0;
    virtual void Send(int signal) = 0;
    // Throws std::exception with a text for people where this board cannot do it.
    virtual void SetWebLogFull(bool isFull) = 0;
    // The module is ready that long after its reset; nothing: never.
    virtual void SetReadyAfter(std::optional<std::chrono::milliseconds> delay) = 0;
    // Throws std::exception with a text for people where this board cannot do it.
    virtual void SetClock(const WallClockChange& change) = 0;
};

// The tolerance of a step that names none: on a busy machine a program runs late. By its own time it does not.
inline constexpr ScenarioTime MACHINE_TIME_TOLERANCE = std::chrono::milliseconds(50);
inline constexpr ScenarioTime VIRTUAL_TIME_TOLERANCE = std::chrono::milliseconds(5);

// The verdict on one step.
struct StepResult {
    enum class Verdict { PASSED, FAILED, NOT_REACHED };

    Verdict verdict = Verdict::NOT_REACHED;
    std::string message;  // of a failed step: the expected and the actual state, and when
    ScenarioTime time{0}; // when it was decided
};

// Plays a scenario on a running board and judges the run.
//
// The board passes every event with its time, in order, and calls OnTime at NextTime() at the latest. Sequential steps
// run one after the other; the first failure ends the scenario, as does a "never" that comes true. Deterministic: uses
// the events' times, not a clock.
class ScenarioRunner final {
public:
    // Both must outlive the runner.
    ScenarioRunner(const Scenario& scenario, const ScenarioNames& names, IScenarioBoard& board);

    // A line "OXBO_RL" or an LED element "MS.green". Initially call it once for each, with time 0.
    void OnLevel(const std::string& signal, bool high, ScenarioTime time);
    void OnWebLog(std::string_view record, ScenarioTime time) { OnLog(LogHas::Log::WEB, record, time); }
    void OnSystemLog(std::string_view record, ScenarioTime time) { OnLog(LogHas::Log::SYSTEM, record, time); }
    void OnOutput(ProgramStream stream, std::string_view piece, ScenarioTime time) {
        Log(stream == ProgramStream::OUTPUT ? LogHas::Log::OUTPUT : LogHas::Log::ERRORS).AddPiece(piece);
        OnTime(time);
    }
    void OnReboot(ScenarioTime time) {
        rebootCalled = true;
        OnTime(time);
    }
    // The program ended: waiting steps are decided by the current state, which is final.
    void OnExit(int code, ScenarioTime time) { OnEnd({ProgramEnd::How::EXIT, code}, time); }
    void OnKilled(int signal, ScenarioTime time) { OnEnd({ProgramEnd::How::KILL, signal}, time); }
    void OnTime(ScenarioTime now);

    // The tolerance of steps that name none, from now on.
    void SetTolerance(ScenarioTime tolerance) { usualTolerance = tolerance; }

    // Before the program's first instruction: does what is to happen when it starts, without a time after that. A
    // signal has to wait for the program.
    void ActAtStart();

    // When to call OnTime if no event comes first; nothing: not needed.
    std::optional<ScenarioTime> NextTime() const;

    // All steps are done: the board may end the program.
    bool IsDone() const { return done; }

    // Decides the "never" and "expect" steps by the run so far; a crash that no passed step awaited fails them all.
    // Idempotent.
    void Finish(ScenarioTime now);

    bool HasPassed() const;

    // One per step of the scenario, in order.
    const std::vector<StepResult>& Results() const { return results; }

private:
    struct LineHistory {
        bool high = false;
        ScenarioTime since{0};
        std::vector<ScenarioTime> pulses[2]; // the lengths of whole phases, by level
        bool changed = false;                // the previous level's beginning is known
    };

    void ExpectTexts();
    void OnLog(LogHas::Log log, std::string_view record, ScenarioTime time) {
        Log(log).Add(record);
        OnTime(time);
    }
    void OnEnd(ProgramEnd end, ScenarioTime time) {
        ended = end;
        programEnd = time;
        OnTime(time);
    }
    LogHistory& Log(LogHas::Log log) { return logs[static_cast<std::size_t>(log)]; }
    const LogHistory& LogOf(const LogHas& condition) const { return logs[static_cast<std::size_t>(condition.log)]; }
    void Advance(ScenarioTime now);
    // Throws std::exception with a message where the board cannot do it.
    void Act(const Action& action);
    void ActWhenever(ScenarioTime now);
    void NoteStart(ScenarioTime time);
    bool HasBecomeTrue(std::size_t step, const When& when, ScenarioTime now);
    void ActFor(std::size_t step, const Action& action, ScenarioTime now);
    // When the step was passed; nothing: it waits, or has failed.
    std::optional<ScenarioTime> Play(const Do& action, ScenarioTime now);
    std::optional<ScenarioTime> Look(const Await& await, ScenarioTime now);
    // The step that is being waited for, and with it the scenario.
    std::nullopt_t Fail(std::string message, ScenarioTime time);
    bool Holds(const Condition& condition, ScenarioTime now) const;
    bool Alternates(const LedAlternates& condition, ScenarioTime now) const;
    // How and when the program ended, to follow "the program had ".
    std::string End() const;
    bool CouldNotRun() const;
    // Why a wait ended early: the program's end, unless the condition is about that; empty: the program ran on.
    std::string CutShort(const Condition& condition, ScenarioTime limit) const;
    // A crash that no step awaited or caused; empty: none.
    std::string Crash() const;
    std::string Seen(const Condition& condition) const;
    std::string SeenOf(const std::string& led) const;
    std::string SeenOfEnd() const;
    void Decide(std::size_t step, StepResult::Verdict verdict, std::string message, ScenarioTime time) {
        results[step] = {verdict, std::move(message), time};
    }
    void CheckNever(ScenarioTime now);
    void Judge(std::size_t step, const Pulses& pulses, ScenarioTime now);

    const Scenario& scenario;
    ScenarioTime usualTolerance = MACHINE_TIME_TOLERANCE;
    IScenarioBoard& board;
    std::vector<StepResult> results;
    bool hasStarted = false;
    std::set<std::size_t> wereFalse;             // the conditions of steps "when", after the start
    std::map<std::size_t, ScenarioTime> awaited; // the steps "when" that are to act, and when
    std::size_t next = 0;                        // the current step
    ScenarioTime stepBegin{0};                   // when the previous one was done
    bool done = false;
    bool finished = false;
    std::map<std::string, LedHistory> leds;
    std::map<std::string, LineHistory> lines;
    std::array<LogHistory, LogHas::LOGS> logs; // by LogHas::Log
    bool rebootCalled = false;
    std::optional<ProgramEnd> ended;
    ScenarioTime programEnd{0};
    ScenarioTime last{0};
};

} // namespace VelrixBoard
