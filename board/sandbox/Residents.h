// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

#include <sys/types.h>

namespace VelrixBoard {

// All processes on a board but its first, which is the one that asks: it adopts what the others orphan.
//
// With process numbers of its own the board's processes are all there are. Without, they are the descendants of the
// first; /proc tells.
class Residents final {
public:
    explicit Residents(bool haveOwnNumbers) : ownNumbers(haveOwnNumbers) {}

    // Sends the signal to each. Who starts others meanwhile may have one that it misses: ask again until none is left.
    void Signal(int number) const;

    // Whether any of them runs or waits for its turn to. A process counts by the state of its main thread.
    bool AnyWorks() const;

    // Kills and reaps all of them, those too that they start meanwhile. Gives up after ten seconds, when what remains
    // cannot be killed.
    void End() const;

private:
    bool ownNumbers;
};

// The descendants of this process, in no order.
std::vector<pid_t> Descendants();

} // namespace VelrixBoard
