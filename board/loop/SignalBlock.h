// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <csignal>
#include <initializer_list>

namespace VelrixBoard {

// Holds back signals from now on, so that a loop can read them. They stay held back when the object goes: one that
// comes too late for the program must not end the command before it said how the program ended. Those that StopSignals
// handles are not for this.
class SignalBlock final {
public:
    SignalBlock(std::initializer_list<int> signals) {
        sigemptyset(&blocked);
        for (const int signal : signals)
            sigaddset(&blocked, signal);
        ::sigprocmask(SIG_BLOCK, &blocked, nullptr);
    }
    SignalBlock(const SignalBlock&) = delete;
    SignalBlock& operator=(const SignalBlock&) = delete;

    const sigset_t& Blocked() const { return blocked; }

private:
    sigset_t blocked;
};

} // namespace VelrixBoard
