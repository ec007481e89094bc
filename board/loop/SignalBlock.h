// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <csignal>
#include <initializer_list>

namespace VelrixBoard {

// Blocks signals, so that a loop can read them from a signalfd. Never unblocks them: a late one must not end the
// command before it reports how the program ended. Not for the signals of StopSignals.
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
