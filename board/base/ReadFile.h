// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>

namespace VelrixBoard {

// Throws BoardError for an existing path that is no regular file: reading a named pipe could block, /dev/zero would
// never end.
void RequireContent(const std::filesystem::path& file);

// The file's content. Throws BoardError when it cannot be read.
std::string ReadFile(const std::filesystem::path& file);

} // namespace VelrixBoard
