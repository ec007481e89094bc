// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

#include "board/base/BoardLayout.h"
#include "board/base/Placement.h"
#include "board/files/DeviceTree.h"
#include "board/model/BoardState.h"
#include "board/virtual/Board.h"

namespace VelrixBoard {

// Throws BoardError for a name to leave out that the board does not have.
void RequireKnownPaths(const BoardOptions& options, const BoardLayout& layout, const BoardState& state);

// Whether the web log of this model is a file that the board can keep outside.
bool CanKeepWebLog(const BoardModel& model);

// What the programs of a board find in place of the machine's names. Makes the files and directories outside; the
// socket of the system log must be there: a socket bound later would be another file than the one that is put in place.
// Throws BoardError for a run directory that would be out of sight.
std::vector<Placement> MakePlacements(const BoardOptions& options, const BoardLayout& layout, const BoardState& state,
                                      const DeviceTree& tree);

} // namespace VelrixBoard
