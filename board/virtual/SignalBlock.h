// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <csignal>
#include <initializer_list>

namespace VelrixBoard {

// Holds back the signals that a board passes on, for as long as it lives. SIGTERM is not among them: it has a
// TerminationGuard.
class SignalBlock final {
public:
    explicit SignalBlock(std::initializer_list<int> further = {}) {
        sigemptyset(&blocked);
        for (const int signal : further)
            sigaddset(&blocked, signal);
        for (const int signal : {SIGHUP, SIGINT, SIGQUIT, SIGUSR1, SIGUSR2})
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
