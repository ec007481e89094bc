// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "board/emulated/CpioArchive.h"

namespace VelrixBoard {

// The dependencies of a 32-bit ARM program or library.
struct ArmObject {
    std::vector<std::string> needed;  // names of libraries
    std::vector<std::string> runPath; // searched first; $ORIGIN is the object's folder
};

// Nothing for other files. Throws BoardError when the file cannot be read or is damaged.
std::optional<ArmObject> ReadArmObject(const std::filesystem::path& file);

// A program or library without debug information and section headers, since unpacking these slows every boot. Throws
// BoardError when the file cannot be read or is damaged.
std::string ReadLoadedPart(const std::filesystem::path& file);

// Adds a program at its path on this machine, and its libraries: those in its run path at their paths, those in one of
// the folders in the machine's library folder. The machine must have the rest. Throws BoardError when the file is no
// 32-bit ARM program.
void AddArmProgram(CpioArchive& archive, const std::filesystem::path& program,
                   const std::vector<std::filesystem::path>& folders);

} // namespace VelrixBoard
