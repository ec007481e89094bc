// SPDX-License-Identifier: Apache-2.0
#include "board/virtual/TimeChoice.h"

#include <array>
#include <cstdlib>
#include <sstream>

#include <unistd.h>

#include "board/preload/ProgramCheck.h"
#include "board/sandbox/PreloadLibrary.h"
#include "board/time/ProgramThreads.h"

namespace VelrixBoard {

namespace {

// The file that execvp takes; the name itself if there is none.
std::string FindProgram(const std::string& name) {
    const char* const path = std::getenv("PATH");
    if (name.find('/') != std::string::npos || path == nullptr)
        return name;
    std::istringstream directories(path);
    for (std::string directory; std::getline(directories, directory, ':');) {
        const std::string file = (directory.empty() ? "." : directory) + "/" + name;
        if (::access(file.c_str(), X_OK) == 0)
            return file;
    }
    return name;
}

} // namespace

bool CanSkipTime(const std::string& program) {
    if (PreloadLibrary().empty() || !ProgramThreads::MissingInProc().empty())
        return false;
    std::array<char, 512> reason{};
    return Preload::CheckProgram(FindProgram(program).c_str(), reason.data(), reason.size()) == Preload::Refusal::NONE;
}

} // namespace VelrixBoard
