// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "board/emulated/CpioArchive.h"

namespace VelrixBoard {

// What the dynamic loader would want to know of a 32-bit ARM program or library.
struct ArmObject {
    std::vector<std::string> needed;  // names of libraries
    std::vector<std::string> runPath; // where to look for them first; $ORIGIN stands for the object's own folder
};

// Nothing for a file that is no 32-bit ARM program or library. Throws BoardError when it cannot be read or is damaged.
std::optional<ArmObject> ReadArmObject(const std::filesystem::path& file);

// A program or library without what nobody loads: names and lines for debuggers, the table of sections. That is most of
// a build with debug information, and costs time at every boot. Throws BoardError when the file cannot be read or is
// damaged.
std::string ReadLoadedPart(const std::filesystem::path& file);

// Adds what is loaded of a program at the path it has here, with the libraries that it needs and that are found: those
// in its run path where they are, those in one of the folders in the machine's own library folder. Libraries that are
// found nowhere must be the machine's. Throws BoardError when the file is no program for the machine.
void AddArmProgram(CpioArchive& archive, const std::filesystem::path& program,
                   const std::vector<std::filesystem::path>& folders);

} // namespace VelrixBoard
