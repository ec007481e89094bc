// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/support/Emulator.h"
#include "tests/support/TemporaryFolder.h"

namespace TestSupport {

struct VelrixctlEnd {
    int code; // -1: a signal ended it
    std::string output;
    std::string errors;
};

// Runs the command as a user does, its output in files. NAME=VALUE words before the first argument are its environment;
// a word "> PATH" at the end redirects standard output.
inline VelrixctlEnd Velrixctl(std::vector<std::string> arguments) {
    const TemporaryFolder folder;
    std::string output = folder.Path("output");
    if (!arguments.empty() && arguments.back().starts_with("> ")) {
        output = arguments.back().substr(2);
        arguments.pop_back();
    }
    std::vector<std::string> environment;
    while (!arguments.empty() && arguments.front().find('=') != std::string::npos) {
        environment.push_back(arguments.front());
        arguments.erase(arguments.begin());
    }
    arguments.insert(arguments.begin(), VELRIXCTL);
    arguments = Command(std::move(arguments));

    const pid_t process = ::fork();
    if (process == 0) {
        ::dup2(::open("/dev/null", O_RDONLY | O_CLOEXEC), STDIN_FILENO);
        ::dup2(::open(output.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600), STDOUT_FILENO);
        ::dup2(::open(folder.Path("errors").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600), STDERR_FILENO);
        for (std::string& variable : environment)
            ::putenv(variable.data());
        std::vector<char*> words;
        for (std::string& word : arguments)
            words.push_back(word.data());
        words.push_back(nullptr);
        ::execvp(words.front(), words.data());
        ::_exit(97);
    }
    int status = 0;
    ::waitpid(process, &status, 0);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1,
            output.starts_with(folder.Path()) ? folder.Read("output") : "", folder.Read("errors")};
}

} // namespace TestSupport
