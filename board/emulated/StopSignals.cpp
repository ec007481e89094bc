// SPDX-License-Identifier: Apache-2.0
#include "board/emulated/StopSignals.h"

#include <array>
#include <cerrno>
#include <string_view>

#include <fcntl.h>
#include <unistd.h>

#include "board/virtual/BoardError.h"

namespace VelrixBoard {

namespace {

constexpr std::array<int, 6> PASSED_ON = {SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGUSR1, SIGUSR2};
constexpr int SIGNALLED = 128;

// For the handlers, which have nothing else.
volatile std::sig_atomic_t pipeEnd = -1;
volatile std::sig_atomic_t lastStop = 0;
volatile std::sig_atomic_t stops = 0;

void EndAtOnce(int) {
    constexpr std::string_view TEXT = "velrix-emulator: ended by a signal that the machine did not answer\n";
    (void)!::write(STDERR_FILENO, TEXT.data(), TEXT.size());
    ::_exit(SIGNALLED + lastStop);
}

void PassOn(int signal) {
    const int before = errno;
    const auto number = static_cast<unsigned char>(signal);
    // A pipe that is full holds thousands of signals already.
    (void)!::write(pipeEnd, &number, 1);
    if (StopSignals::IsToStop(signal)) {
        lastStop = signal;
        stops = stops + 1;
        const std::chrono::seconds left =
            stops > 1 ? StopSignals::LAST_WORD : StopSignals::LIMIT + StopSignals::LAST_WORD;
        ::alarm(static_cast<unsigned>(left.count()));
    }
    errno = before;
}

// What the command was started to ignore, as nohup and shells do, it does ignore.
void Handle(int signal, void (*handler)(int)) {
    struct sigaction action {};
    if (::sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN)
        return;
    action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    ::sigaction(signal, &action, nullptr);
}

} // namespace

StopSignals::StopSignals() {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0)
        ThrowSystemError("cannot make a pipe for signals");
    reading = FileDescriptor(ends[0]);
    writing = FileDescriptor(ends[1]);
    pipeEnd = writing.Get();
    stops = 0;
    Handle(SIGALRM, EndAtOnce);
    for (const int signal : PASSED_ON)
        Handle(signal, PassOn);
}

StopSignals::~StopSignals() {
    ::alarm(0);
    for (const int signal : PASSED_ON)
        Handle(signal, SIG_DFL);
    Handle(SIGALRM, SIG_DFL);
}

int StopSignals::Take(int descriptor) {
    unsigned char number = 0;
    return ::read(descriptor, &number, 1) == 1 ? number : 0;
}

void StopSignals::Answered() {
    ::alarm(0);
}

} // namespace VelrixBoard
