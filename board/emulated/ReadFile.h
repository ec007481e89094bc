// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>

namespace VelrixBoard {

// The file's whole content; throws BoardError when it cannot be read.
std::string ReadFile(const std::filesystem::path& file);

} // namespace VelrixBoard
