// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "board/emulated/CpioArchive.h"

// The test programs of a build with the preset "arm", for tests that run them in the emulated machine. VELRIX_ARM_BUILD
// names the build's folder, VELRIX_EMULATED_BOARD the image's.
namespace ArmTestPrograms {

std::filesystem::path BuildFolder();
std::filesystem::path ImageFolder();

// Those that put one program after the other on a private board, for which it is mostly the kernel that works.
const std::vector<std::string>& BoardPrograms();

// All others, with their whole paths, in the order of these.
std::vector<std::string> OtherPrograms();

// The whole path of a program of the build.
std::string Path(const std::string& program);

// Adds a program with the libraries that it needs.
void Add(VelrixBoard::CpioArchive& files, const std::string& program);

// Adds what all test programs start, and the files that they read.
void AddWhatTestsNeed(VelrixBoard::CpioArchive& files);

// Adds what the board programs, or all others, start beyond that: Debian's programs that scripts/arm-test-tools
// fetched. They are many megabytes, which the machine unpacks each time it boots.
void AddToolsOfBoardPrograms(VelrixBoard::CpioArchive& files);
void AddToolsOfOtherPrograms(VelrixBoard::CpioArchive& files);

} // namespace ArmTestPrograms
