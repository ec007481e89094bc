// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>

#include "board/virtual/FileDescriptor.h"

namespace VelrixBoard {

// Takes SIGTERM for a board, so that it can be ended even when its loop hangs. The loop asks what is wanted:
//
// - END by the first one: the program is to end, in its own time;
// - KILL by a second one: everything is to end at once.
//
// If the loop does not ask for ANSWER_LIMIT after the first one, or KILL_LIMIT after the second one, the process ends
// by the signal, and everything on the board with it, as after any signal that kills a board; it says so where standard
// error takes it. One object a process; the loop's thread uses it. What it handles stays so when it goes: a process
// that is about to end anyway ends in its own way if it does so in time.
class TerminationGuard final {
public:
    // Both end a command within ten seconds of the first one, and within little more than one of the second.
    static constexpr std::chrono::seconds ANSWER_LIMIT{8};
    static constexpr std::chrono::seconds KILL_LIMIT{1};

    // What timeout(1) sends at once, to the process and to its group, is one request.
    static constexpr std::chrono::seconds SAME_REQUEST{1};

    enum class Request { NONE, END, KILL };

    // Handles SIGTERM and SIGALRM from now on. The name is the command's, a constant. Throws BoardError.
    explicit TerminationGuard(const char* commandName);
    TerminationGuard(const TerminationGuard&) = delete;
    TerminationGuard& operator=(const TerminationGuard&) = delete;
    ~TerminationGuard();

    // Becomes readable when there is something to take.
    int Descriptor() const { return wake.Get(); }

    // What has been wanted since the last call. Who gets KILL has ANSWER_LIMIT until the process must have ended.
    Request Take();

    // Another program is about to run: the next SIGTERM is the first one for it.
    void Restart();

private:
    FileDescriptor wake;
};

} // namespace VelrixBoard
