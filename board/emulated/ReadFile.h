// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>

namespace VelrixBoard {

// Throws BoardError, which names it, for what is there but has no end or no content to read: a named pipe without a
// writer would hold the reader for ever, /dev/zero would fill the memory.
void RequireContent(const std::filesystem::path& file);

// The file's whole content; throws BoardError when it cannot be read.
std::string ReadFile(const std::filesystem::path& file);

} // namespace VelrixBoard
