// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "board/base/Placement.h"

namespace VelrixBoard {

// A stub of the commands that would shut down the machine. On a board each is this program under the command's name,
// which only appends its arguments to the record of calls.
//
// The stub is the board's executable, so that a board is one relocatable file.
class RebootStub final {
public:
    // Placements of the stub at the commands' paths, and of the record of calls.
    static std::vector<Placement> Placements(const std::filesystem::path& program, const std::filesystem::path& record);

    // True when this process was started as one of the commands. Checks the path of the executable, since a caller may
    // pass any argv[0].
    static bool IsCalled();

    // Records the call; the process's exit code.
    static int Main(int argc, char** argv);

    // The effect of a recorded call on a machine. A call for help, for a warning or to cancel does nothing; a delayed
    // one counts as immediate.
    enum class Effect { NONE, HALT, RESTART };
    static Effect EffectOf(std::string_view call);

    // The record's line: arguments separated by spaces; spaces and backslashes in arguments are escaped by a backslash,
    // a line feed is "\n".
    static std::string Record(const std::vector<std::string_view>& arguments);
};

} // namespace VelrixBoard
