// SPDX-License-Identifier: Apache-2.0
#include "board/virtual/PassedSignals.h"

#include <algorithm>
#include <cstddef>
#include <vector>

#include <sys/signalfd.h>
#include <unistd.h>

namespace VelrixBoard {

namespace {

// More kinds than a board passes on.
constexpr std::size_t SIGNALS_PER_TURN = 8;

std::vector<signalfd_siginfo> ReadSignals(int file) {
    std::vector<signalfd_siginfo> signals(SIGNALS_PER_TURN);
    const ssize_t length = ::read(file, signals.data(), sizeof signals[0] * signals.size());
    signals.resize(length > 0 ? static_cast<std::size_t>(length) / sizeof signals[0] : 0);
    return signals;
}

} // namespace

PassedSignals::PassedSignals(std::function<bool()> thereIsAProgram, std::function<void(int)> toProgram,
                             std::function<void(BoardTime)> resize)
    : file(::signalfd(-1, &signals.Blocked(), SFD_CLOEXEC | SFD_NONBLOCK)), isTaken(std::move(thereIsAProgram)),
      passOn(std::move(toProgram)), onResize(std::move(resize)) {}

// The terminal sends its signals to all of the foreground group, hence to the program as well; it gets only those that
// were meant for this process alone. A hang-up goes to the leader of the session alone, which this process may be.
void PassedSignals::Run(BoardTime now) {
    for (const signalfd_siginfo& signal : ReadSignals(file.Get())) {
        const auto number = static_cast<int>(signal.ssi_signo);
        if (number == SIGWINCH)
            onResize(now);
        else if (signal.ssi_code <= 0 || number == SIGHUP)
            passOn(number);
    }
}

bool PassedSignals::TakeAny() {
    const std::vector<signalfd_siginfo> taken = ReadSignals(file.Get());
    return std::any_of(taken.begin(), taken.end(),
                       [](const signalfd_siginfo& signal) { return signal.ssi_signo != SIGWINCH; });
}

} // namespace VelrixBoard
