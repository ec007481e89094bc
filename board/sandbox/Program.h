// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace VelrixBoard {

// Like execvp, with the board's PATH; returns on failure.
using Execute = std::function<int(const char* file, char* const arguments[])>;

// execvp, but only a script goes to the shell when the kernel cannot run a file that is named by a path: a program for
// another processor fails with ENOEXEC.
int ExecuteProgram(const char* file, char* const arguments[]);

// A program for a board's process.
struct Program {
    // Called in the program's process; returns the exit code.
    std::function<int(const Execute& execute)> main;

    // Descriptors for the program's standard output and standard error; -1 inherits the board's.
    int standardOutput = -1;
    int standardError = -1;
};

// A command with its arguments, found by PATH. Exit code 127 when there is no such program and 126 when it cannot be
// run.
Program CommandProgram(std::vector<std::string> command);

} // namespace VelrixBoard
