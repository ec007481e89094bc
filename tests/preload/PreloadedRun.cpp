// SPDX-License-Identifier: Apache-2.0
#include "tests/preload/PreloadedRun.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace VelrixBoard::Preload {

namespace {

std::vector<char*> Pointers(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (std::string& text : texts)
        pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

std::vector<std::string> Changed(const std::vector<std::string>& changes) {
    std::vector<std::string> entries;
    const auto nameOf = [](const std::string& entry) { return entry.substr(0, entry.find('=')); };
    for (char** entry = environ; *entry != nullptr; ++entry) {
        bool isChanged = false;
        for (const std::string& change : changes)
            isChanged = isChanged || nameOf(change) == nameOf(*entry);
        if (!isChanged)
            entries.emplace_back(*entry);
    }
    for (const std::string& change : changes)
        if (change.find('=') != std::string::npos)
            entries.push_back(change);
    return entries;
}

} // namespace

PreloadedRun RunPreloaded(const std::vector<std::string>& command, const std::vector<std::string>& environment) {
    const TestSupport::TemporaryFolder folder;
    const std::string output = folder.Path("output"), errors = folder.Path("errors");
    std::vector<std::string> words = command, entries = Changed(environment);
    const std::vector<char*> arguments = Pointers(words), variables = Pointers(entries);
    const pid_t process = ::fork();
    if (process == 0) {
        ::dup2(::open(output.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600), STDOUT_FILENO);
        ::dup2(::open(errors.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600), STDERR_FILENO);
        ::close_range(3, ~0U, 0);
        ::execve(arguments[0], arguments.data(), variables.data());
        ::_exit(127);
    }
    PreloadedRun run;
    int status = 0;
    EXPECT_EQ(::waitpid(process, &status, 0), process);
    run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    run.output = folder.Read("output");
    run.errors = folder.Read("errors");
    return run;
}

PreloadedRun RunOnBoard(const StandInBoard& board, const std::vector<std::string>& command,
                        std::vector<std::string> environment) {
    environment.insert(environment.begin(), {"LC_ALL=C", std::string("LD_PRELOAD=") + PRELOADED_LIBRARY,
                                             std::string(LIST_VARIABLE) + "=" + board.List()});
    return RunPreloaded(command, environment);
}

std::string StepOnBoard(const StandInBoard& board, const std::string& step, const std::string& argument) {
    const PreloadedRun run = RunOnBoard(board, {PRELOADED_STEPS, step, argument});
    EXPECT_EQ(run.status, 0) << step << ": " << run.All();
    EXPECT_EQ(run.errors, "") << step;
    return run.output;
}

} // namespace VelrixBoard::Preload
