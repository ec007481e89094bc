// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

#include <sys/types.h>

namespace VelrixBoard {

// All processes on a board except process 1, the caller, which is the subreaper.
//
// With a pid namespace these are all processes in it; without, the descendants of process 1, from /proc.
class Residents final {
public:
    explicit Residents(bool haveOwnNumbers) : ownNumbers(haveOwnNumbers) {}

    // Sends the signal to each. Race: it may miss processes started meanwhile; repeat until none is left.
    void Signal(int number) const;

    // Whether any of them is busy: its main thread is runnable.
    bool AnyWorks() const;

    // Kills and reaps all of them, including those started meanwhile. Timeout of ten seconds, for processes that cannot
    // be killed.
    void End() const;

private:
    bool ownNumbers;
};

// The descendants of this process, unordered.
std::vector<pid_t> Descendants();

} // namespace VelrixBoard
