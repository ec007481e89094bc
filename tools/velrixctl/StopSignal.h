// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <string>

namespace VelrixTools {

// Lets SIGINT, SIGTERM and SIGHUP end a command that goes on until then, so that it can leave the board as it says. One
// at a time.
class StopSignal final {
public:
    StopSignal();
    StopSignal(const StopSignal&) = delete;
    StopSignal& operator=(const StopSignal&) = delete;
    ~StopSignal(); // the signals end the process again

    // Whether one has come.
    bool HasCome() const;

    // Waits so long, or until one comes. Whether one has come.
    bool Wait(std::chrono::milliseconds time) const;

    // The same, also until standard input has something to read, or ends.
    bool WaitForInput(std::chrono::milliseconds time) const;

private:
    bool WaitFor(std::chrono::milliseconds time, bool forInput) const;
};

// The end of a command that has --for, and of one that goes on for ever without it.
class Deadline final {
public:
    // Seconds such as "2.5"; empty: never. CommandError for anything else.
    explicit Deadline(const std::string& seconds);

    bool HasPassed() const { return std::chrono::steady_clock::now() >= end; }

    // What is left, at most so long.
    std::chrono::milliseconds Left(std::chrono::milliseconds most) const;

private:
    std::chrono::steady_clock::time_point end = std::chrono::steady_clock::time_point::max();
};

} // namespace VelrixTools
