// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

#include <sys/types.h>

#include "board/base/FileDescriptor.h"
#include "board/base/Placement.h"
#include "board/loop/ILoopPart.h"
#include "board/sandbox/Init.h"

namespace VelrixBoard {

// How a board isolates its paths from the machine's.
enum class Isolation {
    AUTO,       // the strongest that the machine allows
    NAMESPACES, // mount namespaces; needs the kernel's permission, and FUSE
    PRELOAD     // a preloaded library redirects paths; for dynamically linked programs, needs no permission
};

// One isolation: gives the programs of a board its paths and value files in place of the machine's, and serves the
// value files as a part of the event loop. The rest of a board is independent of the isolation.
class IBoardEntry : public ILoopPart {
public:
    // The steps of process 1 to make these names visible to its programs. Called once, before Fork; the caller fills in
    // the signal mask. Throws BoardError.
    virtual InitPlan Plan(const std::vector<Placement>& placements) = 0;

    // Forks process 1: 0 in the child. The calling process must have one thread. Throws BoardError.
    virtual pid_t Fork() = 0;

    // Process 1 has set up the board as far as serving the value files through the descriptor needs.
    virtual void Serve(FileDescriptor connection) = 0;

    // Gives the other parts of the loop their turn after each request of a program.
    virtual void ServeOneAtATime() = 0;
};

} // namespace VelrixBoard
