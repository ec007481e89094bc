// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <csignal>
#include <cstddef>

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
    SavedSignals(const SavedSignals&) = delete;
    SavedSignals& operator=(const SavedSignals&) = delete;

    void Restore() const {
        for (std::size_t i = 0; i < NUMBERS.size(); ++i)
            ::sigaction(NUMBERS[i], &actions[i], nullptr);
        ::sigprocmask(SIG_SETMASK, &mask, nullptr);
    }

private:
    sigset_t mask{};
    std::array<struct sigaction, NUMBERS.size()> actions{};
};

} // namespace VelrixBoard
