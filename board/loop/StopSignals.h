// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <initializer_list>
#include <string>

#include "board/base/FileDescriptor.h"

namespace VelrixBoard {

// Takes the signals that ask a command to end, and makes sure that it ends: whatever the program and the readers of its
// output do, and even when the command's own loop hangs. The loop asks what is wanted:
//
// - END, by the first signal: the program is to end, in its own time. The loop says when the program has the signal.
// - KILL: everything is to end at once. By a second signal; when the program did not get the first one for
//   ANSWER_LIMIT; and GRACE after a SIGTERM, whatever the program does with it.
//
// If the process is still there SECOND_LIMIT after a second signal, or LAST_WORD after the other reasons for KILL, it
// ends by the signal, and everything on the board with it; it says so where standard error takes that at once.
// So a SIGTERM ends the process within ten seconds, and a second signal within one.
//
// One object a process; the loop's thread uses it. What it began stays so when the object goes: a process that is about
// to end does so in its own way if it is in time.
class StopSignals final {
public:
    static constexpr std::chrono::milliseconds ANSWER_LIMIT{5000};
    static constexpr std::chrono::milliseconds GRACE{7000};
    static constexpr std::chrono::milliseconds LAST_WORD{2000};
    static constexpr std::chrono::milliseconds SECOND_LIMIT{900};

    // What one process sends within this time is one request: timeout(1) signals the command and then its group.
    static constexpr std::chrono::milliseconds SAME_REQUEST{250};

    enum class Request { NONE, END, KILL };

    // Handles these signals and SIGALRM from now on. Of SIGINT and SIGQUIT, those that the process was started to
    // ignore, as a shell's background commands are, stay ignored. The name is the command's, a constant. Throws
    // BoardError.
    StopSignals(const char* commandName, std::initializer_list<int> signals);
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;
    ~StopSignals();

    // Becomes readable when there is something to take.
    int Descriptor() const { return wake.Get(); }

    // What has been wanted since the last call.
    Request Take();

    // The signal that came last; 0: none.
    int Signal() const;

    // The program has the first signal.
    void Answered();

    // After KILL: "a second SIGTERM".
    std::string Reason() const;

private:
    FileDescriptor wake;
};

} // namespace VelrixBoard
