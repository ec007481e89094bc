// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdlib>
#include <iterator>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace TestSupport {

// The command that starts a program of this build. When cross-compiled, ctest runs the tests in an emulator without
// binfmt_misc; programs that a test starts need the emulator, which VELRIX_TEST_EMULATOR names, as well. On the device
// the variable is not set.
inline std::vector<std::string> Command(std::vector<std::string> command) {
    if (const char* emulator = std::getenv("VELRIX_TEST_EMULATOR")) {
        std::istringstream words(emulator);
        std::vector<std::string> all{std::istream_iterator<std::string>(words), {}};
        all.insert(all.end(), std::make_move_iterator(command.begin()), std::make_move_iterator(command.end()));
        return all;
    }
    return command;
}

// The same for a line of a shell script; the program's path has no blanks.
inline std::string ShellCommand(const std::string& program) {
    std::string line;
    for (const std::string& word : Command({program}))
        line += (line.empty() ? "" : " ") + word;
    return line;
}

// Standard error of a program without the emulator's line about a fatal signal.
inline std::string WithoutWordsOfTheEmulator(std::string errors) {
    if (std::getenv("VELRIX_TEST_EMULATOR")) {
        const std::size_t begin = errors.find("qemu: uncaught target signal ");
        if (begin != std::string::npos)
            errors.erase(begin, errors.find('\n', begin) + 1 - begin);
    }
    return errors;
}

} // namespace TestSupport
