// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <initializer_list>
#include <string>

#include "board/base/FileDescriptor.h"

namespace VelrixBoard {

// Handles the signals that ask a command to end, and guarantees that it ends, even if the program, the readers of its
// output or the command's own loop hang. Requests to the loop:
//
// - END, after the first signal: ask the program to end, and call Answered when it has the signal.
// - KILL: end everything at once. After a second signal; if the program does not get the first one within
//   ANSWER_LIMIT; and GRACE after a SIGTERM.
//
// If the process still runs SECOND_LIMIT after a second signal, or LAST_WORD after the other reasons for KILL, it ends
// by the signal, and everything on the board with it; it says so if standard error has room. So a SIGTERM ends the
// process within ten seconds, and a second signal within one.
//
// One object per process, used on the loop's thread. Handlers and timer stay active when the object is destroyed.
class StopSignals final {
public:
    static constexpr std::chrono::milliseconds ANSWER_LIMIT{5000};
    static constexpr std::chrono::milliseconds GRACE{7000};
    static constexpr std::chrono::milliseconds LAST_WORD{2000};
    static constexpr std::chrono::milliseconds SECOND_LIMIT{900};

    // Signals of one process within this time are one request: timeout(1) signals the command and then its group.
    static constexpr std::chrono::milliseconds SAME_REQUEST{250};

    enum class Request { NONE, END, KILL };

    // Handles these signals and SIGALRM from now on. SIGINT and SIGQUIT stay ignored if the process was started that
    // way, like a shell's background commands. The name must be a constant. Throws BoardError.
    StopSignals(const char* commandName, std::initializer_list<int> signals);
    ~StopSignals();

    // Readable when there is a request.
    int Descriptor() const { return wake.Get(); }

    // The request since the last call.
    Request Take();

    // The last signal; 0: none.
    int Signal() const;

    // The program has the first signal.
    void Answered();

    // After KILL: "a second SIGTERM".
    std::string Reason() const;

private:
    FileDescriptor wake;
};

} // namespace VelrixBoard
