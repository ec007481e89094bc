// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <csignal>
#include <cstddef>
#include <initializer_list>

namespace VelrixBoard {

// The signal dispositions and mask of this process before the board changed them; restored for the program.
class SavedSignals final {
public:
    // The signals that a board ignores or handles.
    static constexpr std::array<int, 4> NUMBERS = {SIGXFSZ, SIGPIPE, SIGTERM, SIGALRM};

    SavedSignals() {
        ::sigprocmask(SIG_BLOCK, nullptr, &mask);
        for (std::size_t i = 0; i < NUMBERS.size(); ++i)
            ::sigaction(NUMBERS[i], nullptr, &actions[i]);
    }

    void Restore() const {
        for (std::size_t i = 0; i < NUMBERS.size(); ++i)
            ::sigaction(NUMBERS[i], &actions[i], nullptr);
        ::sigprocmask(SIG_SETMASK, &mask, nullptr);
    }

private:
    sigset_t mask{};
    std::array<struct sigaction, NUMBERS.size()> actions{};
};

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

    const sigset_t& Blocked() const { return blocked; }

private:
    sigset_t blocked;
};

} // namespace VelrixBoard
