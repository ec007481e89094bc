// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

#include <sys/types.h>

#include "board/base/FileDescriptor.h"
#include "board/base/Placement.h"
#include "board/loop/ILoopPart.h"
#include "board/sandbox/Init.h"

namespace VelrixBoard {

// The way by which the programs of a board get its names and its value files in place of the machine's. As a part of
// the board's loop it serves the value files. All else of a board does not know which way that is.
class IBoardEntry : public ILoopPart {
public:
    // What process 1 has to do so that its programs find these names. Called once, before Fork; the signal mask is the
    // caller's to fill in. Throws BoardError.
    virtual InitPlan Plan(const std::vector<Placement>& placements) = 0;

    // Forks process 1: 0 in the child. The calling process must have one thread. Throws BoardError.
    virtual pid_t Fork() = 0;

    // Process 1 has made the board so far that the value files can be served through the descriptor.
    virtual void Serve(FileDescriptor connection) = 0;
};

} // namespace VelrixBoard
