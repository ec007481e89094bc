// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>

namespace VelrixBoard {

// The folder of the machine's image where the user names none: that of the variable VELRIX_EMULATED_BOARD, otherwise
// velrix/emulated-board in the user's cache, $XDG_CACHE_HOME or ~/.cache. Throws BoardError when nothing names one.
std::filesystem::path DefaultImage();

// Throws BoardError, which says how to make the image, when the folder lacks a part of it.
void RequireImage(const std::filesystem::path& image);

// The script that makes the image, for a command in this file: of the installation, or of the sources that it was built
// from. Throws BoardError.
std::filesystem::path ImageScript(const std::filesystem::path& command);

} // namespace VelrixBoard
