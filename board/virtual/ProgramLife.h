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

// What the life of a program acts on.
class IProgramHost {
public:
    virtual ~IProgramHost() = default;

    virtual void Order(InitOrder order) = 0; // to process 1
    virtual void KillInit() = 0;             // and with it all that runs on the board
    virtual void Signal(int number) = 0;     // to the program
    virtual void PowerUp() = 0;
    virtual void RecordSystemCall(bool restart) = 0;
    virtual void Say(const std::string& what) = 0;
};

// The life of the program on a board, from what process 1 tells, from calls for a reboot and from signals that ask the
// board to end:
//
//                     STARTED            ENDED            DOWN
//     NOT_STARTED  ----------> RUNNING  -------> ENDED  --------> DOWN
//     RESTARTING   ---------->   |                 |
//          ^                     | DOWN            | DOWN, after a call for a restart on a board that does so
//          +---------------------+-----------------+
//
// The program runs in RUNNING alone; in ENDED what it left may still run; in NOT_STARTED and RESTARTING process 1 is
// about to start it; in DOWN nothing runs any more, and process 1 leaves. That goes without a word, whatever the state,
// when it is killed or a program on its board makes the reboot system call.
class ProgramLife final {
public:
    enum class State { NOT_STARTED, RUNNING, ENDED, RESTARTING, DOWN };

    // restarts: after a call for a restart the program is run again.
    ProgramLife(IProgramHost& programHost, const BoardState& boardState, Clock boardClock, bool restarts)
        : host(programHost), state(boardState), clock(std::move(boardClock)), restartsAfterReboot(restarts) {}

    State Current() const { return current; }

    // There is a program that signals can be kept for, or one that has just ended. Others wait for the next one.
    bool TakesSignals() const { return current == State::RUNNING || current == State::ENDED; }

    // The program has ended and is not run again, as far as is known.
    bool HasEnded() const { return endStatus.has_value(); }
    bool IsKilled() const { return isKilled; }

    void Obey(const InitMessage& message);

    // The program gets the signal while it runs.
    void Signal(int number);

    // A signal asks this board to end: the program gets SIGTERM, at the latest when it is started, and is not run
    // again. With atOnce, and when there is only what the program left, everything is killed; the reason is for the
    // user.
    void End(bool atOnce, const std::string& reason);

    // A call of one of the reboot commands: all that runs is ended. Those after the first that means something are
    // recorded only.
    void Reboot(std::string_view call);

    // A program made the reboot system call, seen by the preloaded library: everything on the board ends at once, and
    // the board with it.
    void RebootBySystemCall(bool restart);

    // Throws BoardError where process 1 could not make the board.
    void RequireBoard() const;

    // When process 1 is gone: the program's wait status, 0 where a reboot that it called for ended it. Throws
    // BoardError when the program did not run or process 1 had no reason to go.
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
    RebootStub::Effect reboot = RebootStub::Effect::NONE; // that was called for since the program was started
    bool isRebootedBySystemCall = false;
    bool isToldToEnd = false; // by a signal to this process
    bool isKilled = false;
    std::optional<int> endStatus;
    std::string failure;
};

} // namespace VelrixBoard
