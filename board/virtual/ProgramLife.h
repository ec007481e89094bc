// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "board/base/Clock.h"
#include "board/model/BoardState.h"
#include "board/sandbox/Init.h"
#include "board/sandbox/RebootStub.h"

namespace VelrixBoard {

// The actions of ProgramLife.
class IProgramHost {
public:
    virtual ~IProgramHost() = default;

    virtual void Order(InitOrder order) = 0; // to process 1
    virtual void KillInit() = 0;             // and everything on the board
    virtual void Signal(int number) = 0;     // to the program
    virtual void PowerUp() = 0;
    virtual void RecordSystemCall(bool restart) = 0;
    virtual void Say(const std::string& what) = 0;
};

// The program's life as a state machine, driven by messages of process 1, reboot calls, and requests to end:
//
//                     STARTED            ENDED            DOWN
//     NOT_STARTED  ----------> RUNNING  -------> ENDED  --------> DOWN
//     RESTARTING   ---------->   |                 |
//          ^                     | DOWN            | DOWN, after a call for a restart, if enabled
//          +---------------------+-----------------+
//
// The program runs only in RUNNING; in ENDED its leftover processes may run; in NOT_STARTED and RESTARTING process 1 is
// about to start it; in DOWN nothing runs, and process 1 exits. Process 1 ends without a message, in any state, when it
// is killed or a program makes the reboot system call.
class ProgramLife final {
public:
    enum class State { NOT_STARTED, RUNNING, ENDED, RESTARTING, DOWN };

    // restarts: run the program again after a call for a restart.
    ProgramLife(IProgramHost& programHost, const BoardState& boardState, Clock boardClock, bool restarts)
        : host(programHost), state(boardState), clock(std::move(boardClock)), restartsAfterReboot(restarts) {}

    State Current() const { return current; }

    // Whether to read pending signals; in other states they wait for the next program.
    bool TakesSignals() const { return current == State::RUNNING || current == State::ENDED; }

    // The program has ended and no restart is known.
    bool HasEnded() const { return endStatus.has_value(); }
    bool IsKilled() const { return isKilled; }
    bool IsToldToEnd() const { return isToldToEnd; }

    void Obey(const InitMessage& message);

    // Signals the program if it runs.
    void Signal(int number);

    // Ends the board: sends the program SIGTERM, if need be when it starts, and does not restart it. With atOnce, and
    // after the program's end, kills everything; the reason is for the user.
    void End(bool atOnce, const std::string& reason);

    // Ends everything and starts the program again. Throws BoardError if it does not run, or ends already.
    void Restart();

    // A reboot command was called: ends everything. Later calls are only recorded.
    void Reboot(std::string_view call);

    // A program made the reboot system call, seen by the preloaded library: kills everything and ends the board.
    void RebootBySystemCall(bool restart);

    // Throws BoardError if process 1 could not set up the board.
    void RequireBoard() const;

    // The program's wait status, after the end of process 1; 0 if its own reboot ended it. Throws BoardError if the
    // program did not run or process 1 ended unexpectedly.
    int Status(int initStatus) const;

private:
    void OnStarted();
    void OnEnded(int waitStatus);
    void OnDown();
    void KillAll(const std::string& reason);
    int AfterReboot(int waitStatus) const;

    IProgramHost& host;
    const BoardState& state;
    const Clock clock;
    const bool restartsAfterReboot;
    State current = State::NOT_STARTED;
    RebootStub::Effect reboot = RebootStub::Effect::NONE; // called since the program's start
    bool isRebootedBySystemCall = false;
    bool isToldToEnd = false;     // by a signal to this process
    bool isRestartWanted = false; // by the user
    bool isKilled = false;
    std::optional<int> endStatus;
    std::string failure;
};

} // namespace VelrixBoard
