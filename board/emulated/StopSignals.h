// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <csignal>

#include "board/virtual/FileDescriptor.h"

namespace VelrixBoard {

// The signals that the command passes on to the program in the machine, and the certainty that they end the command
// where that does not help: whatever it does at the moment, be it a write to somebody who does not read.
//
// A signal is at hand on Descriptor() until it is taken. SIGINT, SIGQUIT and SIGTERM end the command after LIMIT unless
// they are called answered before, and when another one of them comes; the one who takes them has LAST_WORD to do so in
// order, then the process ends at once, with 128 and the signal's number. One object in a process.
class StopSignals final {
public:
    static constexpr std::chrono::seconds LIMIT{5};
    static constexpr std::chrono::seconds LAST_WORD{1};

    // Throws BoardError when the system has no descriptor left.
    StopSignals();
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;
    ~StopSignals();

    // Readable when there is a signal to take.
    int Descriptor() const { return reading.Get(); }

    // The next signal's number; 0: none is at hand.
    static int Take(int descriptor);

    // The machine has the signal, whatever the program does with it.
    static void Answered();

    static bool IsToStop(int signal) { return signal == SIGINT || signal == SIGQUIT || signal == SIGTERM; }

private:
    FileDescriptor reading;
    FileDescriptor writing;
};

} // namespace VelrixBoard
