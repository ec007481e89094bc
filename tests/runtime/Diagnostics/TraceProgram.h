// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <csignal>
#include <string>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/support/Emulator.h"
#include "tests/support/TemporaryFolder.h"

// A run of the program trace-life, maybe by a wrapper.
class TraceProgram final {
public:
    struct Result {
        int exitCode; // 128 and the signal's number for a program that a signal ended
        std::string output;
        std::string errors;
    };

    explicit TraceProgram(std::vector<std::string> command) {
        std::vector<char*> arguments;
        for (std::string& argument : command)
            arguments.push_back(argument.data());
        arguments.push_back(nullptr);
        const std::string output = folder.Path("output"), errors = folder.Path("errors");
        process = ::fork();
        if (process == 0) {
            ::dup2(::open(output.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600), STDOUT_FILENO);
            ::dup2(::open(errors.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600), STDERR_FILENO);
            ::execvp(arguments[0], arguments.data());
            ::_exit(127);
        }
    }
    TraceProgram(const TraceProgram&) = delete;
    TraceProgram& operator=(const TraceProgram&) = delete;
    ~TraceProgram() {
        if (process > 0) {
            ::kill(process, SIGKILL);
            Wait();
        }
    }

    // trace-life itself with these arguments.
    static std::vector<std::string> Life(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), TRACE_LIFE_PROGRAM);
        return TestSupport::Command(std::move(arguments));
    }

    int Id() const noexcept { return process; }

    Result Wait() {
        int status = -1;
        ::waitpid(process, &status, 0);
        process = -1;
        return {WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status), folder.Read("output"),
                TestSupport::WithoutWordsOfTheEmulator(folder.Read("errors"))};
    }

private:
    TestSupport::TemporaryFolder folder;
    pid_t process = -1;
};
