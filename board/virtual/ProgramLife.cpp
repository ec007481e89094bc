// SPDX-License-Identifier: Apache-2.0
#include "board/virtual/ProgramLife.h"

#include <csignal>
#include <utility>

#include <sys/wait.h>

#include "board/base/BoardError.h"

namespace VelrixBoard {

using Effect = RebootStub::Effect;

void ProgramLife::Obey(const InitMessage& message) {
    switch (message.kind) {
    case InitMessage::Kind::MOUNTED: // nothing to do with the program
        break;
    case InitMessage::Kind::STARTED:
        return OnStarted();
    case InitMessage::Kind::ENDED:
        current = State::ENDED;
        return OnEnded(AfterReboot(message.status));
    case InitMessage::Kind::DOWN:
        return OnDown();
    case InitMessage::Kind::FAILED:
        failure = message.text;
        break;
    }
}

void ProgramLife::OnStarted() {
    current = State::RUNNING;
    if (isToldToEnd)
        host.Signal(SIGTERM);
    state.Tell(&BoardObserver::OnProgramStarted, clock());
}

void ProgramLife::OnEnded(int waitStatus) {
    endStatus = waitStatus;
    state.Tell(&BoardObserver::OnProgramEnded, waitStatus, clock());
}

void ProgramLife::OnDown() {
    // Process 1 killed the program and reaped it with all others.
    if (isKilled && !endStatus)
        OnEnded(W_EXITCODE(0, SIGKILL));
    const bool restarts = restartsAfterReboot || std::exchange(isRestartWanted, false);
    if (reboot != Effect::RESTART || isRebootedBySystemCall || isToldToEnd || !restarts) {
        current = State::DOWN;
        host.Order(InitOrder::LEAVE);
        return;
    }
    host.PowerUp();
    current = State::RESTARTING;
    endStatus.reset();
    reboot = Effect::NONE;
    host.Order(InitOrder::RUN_AGAIN);
}

void ProgramLife::Signal(int number) {
    if (current == State::RUNNING)
        host.Signal(number);
}

void ProgramLife::End(bool atOnce, const std::string& reason) {
    isToldToEnd = true;
    if (atOnce || endStatus)
        KillAll(reason);
    else
        Signal(SIGTERM);
}

void ProgramLife::KillAll(const std::string& reason) {
    if (std::exchange(isKilled, true))
        return;
    host.Say(endStatus ? "kills what the program left running (SIGTERM)"
                       : "kills all that runs on the board (" + reason + ")");
    // Process 1 takes orders only while there is a program.
    if (TakesSignals())
        host.Order(InitOrder::KILL_ALL);
    else
        host.KillInit();
}

// Like a call of reboot.
void ProgramLife::Restart() {
    if (current != State::RUNNING || isToldToEnd || reboot != Effect::NONE)
        throw BoardError("the program does not run, or ends already");
    isRestartWanted = true;
    reboot = Effect::RESTART;
    host.Order(InitOrder::END_ALL);
}

void ProgramLife::Reboot(std::string_view call) {
    state.Tell(&BoardObserver::OnReboot, call, clock());
    const Effect effect = RebootStub::EffectOf(call);
    if (effect == Effect::NONE || reboot != Effect::NONE)
        return;
    reboot = effect;
    host.Order(InitOrder::END_ALL);
}

void ProgramLife::RebootBySystemCall(bool restart) {
    host.RecordSystemCall(restart);
    reboot = restart ? Effect::RESTART : Effect::HALT;
    isRebootedBySystemCall = true;
    host.Order(InitOrder::KILL_ALL);
}

// A program that is ended by its own reboot counts as successful.
int ProgramLife::AfterReboot(int waitStatus) const {
    const bool byReboot =
        WIFSIGNALED(waitStatus) && (WTERMSIG(waitStatus) == SIGTERM || WTERMSIG(waitStatus) == SIGKILL);
    return reboot != Effect::NONE && byReboot ? W_EXITCODE(0, 0) : waitStatus;
}

void ProgramLife::RequireBoard() const {
    if (!failure.empty())
        throw BoardError(failure);
}

int ProgramLife::Status(int initStatus) const {
    if (endStatus)
        return *endStatus;
    // Process 1 ended before the program. The reboot system call does that to a namespace, with SIGHUP for a restart
    // and SIGINT for a halt; the program called it, so it counts as successful.
    if (isRebootedBySystemCall)
        return 0;
    if (isKilled)
        throw BoardError("asked to end (SIGTERM) before the program ran");
    const bool restart = WIFSIGNALED(initStatus) && WTERMSIG(initStatus) == SIGHUP;
    const bool halt = WIFSIGNALED(initStatus) && WTERMSIG(initStatus) == SIGINT;
    if (!restart && !halt)
        throw BoardError("the board's first process ended unexpectedly");
    host.RecordSystemCall(restart);
    return 0;
}

} // namespace VelrixBoard
