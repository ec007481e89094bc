// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace VelrixBoard {

// Whether a board with that run directory, or a temporary one, could have virtual time for that program, which is found
// by PATH: this command has the library that programs load for it, they can load it from that directory, the kernel
// says what threads wait in, and the program is one that loads libraries, without a sanitizer that must be the first of
// them or that waits itself. True too for a program that is not there, which the start says.
bool CanSkipTime(const std::string& program, const std::optional<std::filesystem::path>& directory);

} // namespace VelrixBoard
