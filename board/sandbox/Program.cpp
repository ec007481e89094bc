// SPDX-License-Identifier: Apache-2.0
#include "board/sandbox/Program.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <unistd.h>

namespace VelrixBoard {

namespace {

// The shell's exit codes.
constexpr int NOT_RUNNABLE = 126;
constexpr int NOT_FOUND = 127;

} // namespace

Program CommandProgram(std::vector<std::string> command) {
    const auto run = [command = std::move(command)](const Execute& execute) mutable {
        std::vector<char*> arguments;
        for (std::string& argument : command)
            arguments.push_back(argument.data());
        arguments.push_back(nullptr);
        execute(arguments.front(), arguments.data());
        const int error = errno;
        std::fprintf(stderr, "velrix-board: cannot start %s: %s\n", arguments.front(), std::strerror(error));
        // _exit, not exit: this process shares the board's open streams.
        std::fflush(stderr);
        ::_exit(error == ENOENT ? NOT_FOUND : NOT_RUNNABLE);
        return 0;
    };
    return {run, -1, -1};
}

} // namespace VelrixBoard
