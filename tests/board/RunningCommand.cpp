// SPDX-License-Identifier: Apache-2.0
#include "tests/board/RunningCommand.h"

#include <array>
#include <csignal>
#include <fstream>
#include <stdexcept>

#include <fcntl.h>
#include <pty.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "board/loop/StopSignals.h"
#include "tests/support/PrivateBoard.h"

namespace VelrixBoard {

namespace {

// Where WriteProbe.cpp expects the processor time of the board.
constexpr int SCHEDSTAT = 9;

} // namespace

RunningCommand::RunningCommand(Stream errorStream, bool isStreamRead) : isRead(isStreamRead) {
    OpenStream(errorStream);
}

void RunningCommand::Start(std::vector<std::string> command) {
    std::vector<char*> words;
    for (std::string& word : command)
        words.push_back(word.data());
    words.push_back(nullptr);
    process = ::fork();
    if (process == 0)
        Exec(words);
    if (process < 0)
        throw std::runtime_error("cannot fork");
    errors.Close();
}

RunningCommand::~RunningCommand() {
    if (process > 0) {
        ::kill(process, SIGKILL);
        ::waitpid(process, nullptr, 0);
    }
}

// Not to a command that has ended: its number would be -1, which is everybody.
void RunningCommand::Signal(int number) {
    if (number == SIGTERM)
        signalled = BoardsClock();
    if (process > 0)
        ::kill(process, number);
}

void RunningCommand::SignalTwice(const std::function<void()>& meanwhile) {
    Signal(SIGTERM);
    const auto next = std::chrono::steady_clock::now() + StopSignals::SAME_REQUEST * 5 / 4;
    WaitFor([&] {
        meanwhile();
        return std::chrono::steady_clock::now() >= next;
    });
    Signal(SIGTERM);
}

bool RunningCommand::WaitFor(const std::function<bool()>& condition, std::chrono::seconds limit) {
    return TestSupport::PrivateBoard::WaitFor(
        [&] {
            if (isRead)
                Read();
            return condition();
        },
        limit);
}

bool RunningCommand::HasEnded() {
    siginfo_t information{};
    if (process > 0 && ::waitid(P_PID, static_cast<id_t>(process), &information, WEXITED | WNOHANG | WNOWAIT) == 0 &&
        information.si_pid == process) {
        ended = BoardsClock();
        ::waitpid(process, &status, 0);
        process = -1;
    }
    return process < 0;
}

std::optional<RunningCommand::End> RunningCommand::Wait(const std::function<void()>& meanwhile) {
    const bool hasEnded = WaitFor([&] {
        meanwhile();
        return HasEnded();
    });
    Read();
    return hasEnded ? std::optional(HowItEnded()) : std::nullopt;
}

RunningCommand::End RunningCommand::HowItEnded() const {
    return {status, std::chrono::duration_cast<std::chrono::milliseconds>(ended - signalled)};
}

void RunningCommand::OpenStream(Stream kind) {
    std::array<int, 2> ends{-1, -1};
    if (kind == Stream::TERMINAL) {
        ::openpty(&ends[0], &ends[1], nullptr, nullptr, nullptr);
    } else if (kind == Stream::PIPE) {
        (void)!::pipe2(ends.data(), O_CLOEXEC);
    } else {
        ends[1] = ::open(folder.Path("errors").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
        ends[0] = ::open(folder.Path("errors").c_str(), O_RDONLY | O_CLOEXEC);
    }
    reading = FileDescriptor(ends[0]);
    errors = FileDescriptor(ends[1]);
    ::fcntl(reading.Get(), F_SETFL, O_NONBLOCK);
    // A test may run several commands; none is to hold the stream of another one.
    for (const int end : ends)
        ::fcntl(end, F_SETFD, FD_CLOEXEC);
}

void RunningCommand::Exec(const std::vector<char*>& words) const {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    ::setenv("TERM", "xterm", 1);
    ::dup2(::open("/dev/null", O_RDONLY | O_CLOEXEC), STDIN_FILENO);
    ::dup2(errors.Get(), STDOUT_FILENO);
    ::dup2(errors.Get(), STDERR_FILENO);
    // That of the command, since it is this process.
    ::dup2(::open("/proc/self/schedstat", O_RDONLY | O_CLOEXEC), SCHEDSTAT);
    ::execv(words.front(), words.data());
    ::_exit(97);
}

std::chrono::nanoseconds RunningCommand::BoardsClock() const {
    long long running = 0, waiting = 0;
    std::ifstream("/proc/" + std::to_string(process) + "/schedstat") >> running >> waiting;
    return std::chrono::steady_clock::now().time_since_epoch() - std::chrono::nanoseconds(waiting);
}

void RunningCommand::Read() {
    constexpr int READS = 16; // a program that prints without end must not hold the test
    std::array<char, 65536> buffer;
    for (int i = 0; i < READS; ++i) {
        const ssize_t length = ::read(reading.Get(), buffer.data(), buffer.size());
        if (length <= 0)
            return;
        if (printed.size() < buffer.size())
            printed.append(buffer.data(), static_cast<std::size_t>(length));
    }
}

} // namespace VelrixBoard
