// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace VelrixTools {

// A library of Velrix that this process has loaded.
struct LoadedLibrary {
    std::string name;    // "libvelrix"
    std::string path;    // of the file, without symbolic links
    std::string version; // by the file's name; empty where it has none
};

std::vector<LoadedLibrary> LoadedLibraries();

} // namespace VelrixTools
