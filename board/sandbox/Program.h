// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace VelrixBoard {

// Replaces the process by a program that it finds by PATH on the board, as execvp does; comes back when that fails.
using Execute = std::function<int(const char* file, char* const arguments[])>;

// What runs on a board, in a process of its own.
struct Program {
    // Called in the program's process; what it returns is the exit code.
    std::function<int(const Execute& execute)> main;

    // Descriptors that become the program's standard output and standard error; -1 leaves the board's.
    int standardOutput = -1;
    int standardError = -1;
};

// A command with its arguments, found by PATH. Exit code 127 when there is no such program and 126 when it cannot be
// run.
Program CommandProgram(std::vector<std::string> command);

} // namespace VelrixBoard
