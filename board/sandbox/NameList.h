// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "board/base/Placement.h"
#include "board/files/ValueFiles.h"

namespace VelrixBoard {

// What a preloaded library has to know of a board.
struct NameListSource {
    std::string socket;
    std::vector<Placement> placements;
    std::filesystem::path files;  // holds, by their whole path, names that are the board's and have no other place
    std::filesystem::path device; // the tree of value files' names
    bool asRoot;
};

// The list of names (board/preload/Protocol.h). Makes, below files, what the list leads to: copies, directories for
// names that the program may make, and links for programs that go by the name they are called by. Throws BoardError.
std::string MakeNameList(const NameListSource& source, const BoardState& state, const ValueFiles& values);

} // namespace VelrixBoard
