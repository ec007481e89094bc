// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "board/base/Placement.h"
#include "board/files/ValueFiles.h"

namespace VelrixBoard {

// The data of a board for the preloaded library.
struct NameListSource {
    std::string socket;
    std::vector<Placement> placements;
    std::filesystem::path files;  // the board's other names, by their full path
    std::filesystem::path device; // the tree of value files' names
    bool asRoot;
};

// The list of names (board/preload/Protocol.h). Creates, below files, its targets: copies, directories for names that
// the program may create, and links for programs that act by the name they are called by. Throws BoardError.
std::string MakeNameList(const NameListSource& source, const BoardState& state, const ValueFiles& values);

} // namespace VelrixBoard
