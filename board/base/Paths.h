// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>

namespace VelrixBoard {

// Whether the path is the directory or lies in it. Both are absolute or both relative, and normal.
bool IsIn(const std::filesystem::path& path, const std::filesystem::path& directory);

// Creates an empty file that everybody may read; keeps an existing one. Throws BoardError.
void MakeFile(const std::filesystem::path& path);

// Copies a file, readable by everybody and writable by its owner. Throws BoardError.
void CopyToBoard(const std::filesystem::path& from, const std::filesystem::path& to);

// Throws BoardError for an existing path that is no regular file: reading a named pipe could block, /dev/zero would
// never end.
void RequireContent(const std::filesystem::path& file);

// The file's content. Throws BoardError when it cannot be read.
std::string ReadFile(const std::filesystem::path& file);

} // namespace VelrixBoard
