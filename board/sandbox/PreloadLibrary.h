// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace VelrixBoard {

// The library of board/preload, as it is to be in a file; empty where it was not built, which is so for 32-bit
// machines.
std::string_view PreloadLibrary();

// Why programs could not load the library from there, to follow the directory's name; empty: they can.
std::string WhyNotLoadable(const std::filesystem::path& directory);

// Writes it to a file that programs can load. Throws BoardError where they could not.
void WriteLibrary(const std::filesystem::path& path);

// In a process that is about to start a program: lets that load the library before all others.
void PreloadInto(const std::filesystem::path& library);

// Writes a file as a whole. Throws BoardError.
void WriteFile(const std::filesystem::path& path, std::string_view content, std::filesystem::perms mode);

} // namespace VelrixBoard
