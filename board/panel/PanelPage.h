// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>
#include <vector>

namespace VelrixBoard {

struct PanelFile {
    std::string_view name; // "index.html"
    std::string_view type; // of its content, as HTTP names it
    std::string_view content;
};

// The files of board/panel/page, which the build puts into the program.
const std::vector<PanelFile>& PanelFiles();

} // namespace VelrixBoard
