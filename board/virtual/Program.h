// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace VelrixBoard {

// What runs on a board, in a process of its own.
struct Program {
    // Called in the program's process; what it returns is the exit code.
    std::function<int()> main;

    // Descriptors that become the program's standard output and standard error; -1 leaves the board's.
    int standardOutput = -1;
    int standardError = -1;
};

// A command with its arguments, found by PATH. Exit code 127 when there is no such program and 126 when it cannot be
// run.
Program CommandProgram(std::vector<std::string> command);

} // namespace VelrixBoard
