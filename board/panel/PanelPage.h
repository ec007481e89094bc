// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>
#include <vector>

namespace VelrixBoard {

struct PanelFile {
    std::string_view name; // "index.html"
    std::string_view type; // media type
    std::string_view content;
};

// The files of board/panel/page, embedded by the build.
const std::vector<PanelFile>& PanelFiles();

} // namespace VelrixBoard
