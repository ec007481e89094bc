// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "board/base/Placement.h"

namespace VelrixBoard {

// The commands that would end the machine. On a board each is this program under the command's name, which appends its
// arguments to the record of calls and changes nothing else.
//
// It is one program with the board, not one of its own, so that a board is one file that works wherever it is copied.
class RebootStub final {
public:
    // The program and the record of calls in the places where the board's programs look for the commands.
    static std::vector<Placement> Placements(const std::filesystem::path& program, const std::filesystem::path& record);

    // True when this process was started as one of the commands. It asks for the path of the program, since a caller
    // may give any name as the first argument.
    static bool IsCalled();

    // Records the call; the process's exit code.
    static int Main(int argc, char** argv);

    // What a call, as it stands in the record, would do to a machine. One to ask for help, to warn users or to take an
    // earlier call back does nothing; one that is to take effect later counts as one at once.
    enum class Effect { NONE, HALT, RESTART };
    static Effect EffectOf(std::string_view call);

    // The record's line: arguments apart by spaces, with a backslash before spaces and backslashes inside of one and
    // "\n" for a line feed.
    static std::string Record(const std::vector<std::string_view>& arguments);
};

} // namespace VelrixBoard
