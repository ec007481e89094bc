// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <csignal>
#include <initializer_list>

namespace VelrixBoard {

// Holds back signals for as long as it lives, so that a loop can read them. Those that StopSignals handles are not for
// this.
class SignalBlock final {
public:
    SignalBlock(std::initializer_list<int> signals) {
        sigemptyset(&blocked);
        for (const int signal : signals)
            sigaddset(&blocked, signal);
        ::sigprocmask(SIG_BLOCK, &blocked, &before);
    }
    SignalBlock(const SignalBlock&) = delete;
    SignalBlock& operator=(const SignalBlock&) = delete;
    ~SignalBlock() { ::sigprocmask(SIG_SETMASK, &before, nullptr); }

    const sigset_t& Blocked() const { return blocked; }

private:
    sigset_t blocked;
    sigset_t before;
};

} // namespace VelrixBoard
