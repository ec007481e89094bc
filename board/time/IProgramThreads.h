// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include <sys/types.h>

namespace VelrixBoard {

// A thread of a program on the board. Numbers are those that the program sees.
struct ProgramThread {
    pid_t process = 0;
    pid_t number = 0;
    std::uint64_t spent = 0; // its processor time, in ns
    bool isReadable = true;  // the kernel says what it waits in
    long call = -1;          // the system call that it sleeps in; -1: a signal has stopped it
    std::array<std::uint64_t, 6> arguments{};
};

// A signal that a timer sends.
struct TimerSignal {
    pid_t process = 0;
    pid_t thread = 0; // 0: the process
    int signal = 0;
    int code = 0;
    int timer = 0;
    std::uint64_t value = 0;
};

// All threads of all programs on a board, without process 1.
class IProgramThreads {
public:
    virtual ~IProgramThreads() = default;

    // Whether there was a moment during this call in which all of them, and process 1, slept. Until another one runs
    // them they do so still.
    virtual bool AreAsleep() = 0;

    // Whether there is the same single thread as when AreAsleep was true last. Far cheaper than that.
    virtual bool IsStillAlone() = 0;

    // As the last call of AreAsleep has found them; what they wait in only if that was true.
    virtual const std::vector<ProgramThread>& Threads() const = 0;

    // "thread 12 of gateway (process 11)", by the machine's numbers.
    virtual std::string Describe(const ProgramThread& thread) const = 0;

    virtual void Send(const TimerSignal& signal) = 0;
};

} // namespace VelrixBoard
