// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

#include "board/base/BoardLayout.h"
#include "board/base/Placement.h"
#include "board/files/DeviceTree.h"
#include "board/model/BoardState.h"
#include "board/virtual/Board.h"

namespace VelrixBoard {

// Throws BoardError for an unknown path in options.without.
void RequireKnownPaths(const BoardOptions& options, const BoardLayout& layout, const BoardState& state);

// Whether the web log can be a file in the run directory.
bool CanKeepWebLog(const BoardModel& model);

// All names of the board that replace the machine's. Creates their files and directories; the system log's socket must
// exist already, since binding creates a new file. Throws BoardError if a placement would hide the run directory.
std::vector<Placement> MakePlacements(const BoardOptions& options, const BoardLayout& layout, const BoardState& state,
                                      const DeviceTree& tree);

} // namespace VelrixBoard
