// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/ptrace.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/support/Isolation.h"
#include "tests/support/TemporaryFolder.h"

// The result and output of a command.
struct CommandEnd {
    int status = 0; // as wait gives it
    std::string output;
    std::string errors;

    int ExitCode() const { return WIFEXITED(status) ? WEXITSTATUS(status) : -1; }
    int Signal() const { return WIFSIGNALED(status) ? WTERMSIG(status) : 0; }
};

// Where only root may open /dev/fuse, mounts a public node over it, for this process and its children.
inline bool OpenFuseToAll() {
    struct stat status {};
    if (::stat("/dev/fuse", &status) == 0 && (status.st_mode & 0006) == 0006)
        return true;
    return ::unshare(CLONE_NEWNS) == 0 && ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           ::mount("none", "/mnt", "tmpfs", 0, nullptr) == 0 &&
           ::mknod("/mnt/fuse", S_IFCHR | 0600, status.st_rdev) == 0 && ::chmod("/mnt/fuse", 0666) == 0 &&
           ::mount("/mnt/fuse", "/dev/fuse", nullptr, MS_BIND, nullptr) == 0 && ::umount2("/mnt", MNT_DETACH) == 0;
}

// A command with its environment, run as a child.
struct CommandRun {
    std::vector<std::string> command;
    std::map<std::string, std::string> environment{};
    std::string directory{};         // to run in; empty: the test's
    std::string input = "/dev/null"; // file to read from
    bool asNobody = false;           // Run drops root first, if the test has it
    bool traced = false;             // the test traces it; it stops before its first instruction

    CommandEnd Run() const {
        const TestSupport::TemporaryFolder folder;
        CommandRun started = *this;
        // The build folder may be readable only by root.
        if (asNobody && ::geteuid() == 0) {
            const std::filesystem::path board = VELRIX_BOARD_COMMAND, copy = folder.Path(board.filename());
            std::filesystem::copy_file(board, copy);
            std::replace(started.command.begin(), started.command.end(), board.string(), copy.string());
            ::chmod(folder.Path().c_str(), 0755);
        }
        const pid_t process = started.Start(folder.Path("output"), folder.Path("errors"));
        CommandEnd end;
        ::waitpid(process, &end.status, 0);
        end.output = folder.Read("output");
        end.errors = folder.Read("errors");
        return end;
    }

    // Starts the command without waiting for it.
    pid_t Start(const std::string& output = "/dev/null", const std::string& errors = "/dev/null") const {
        const pid_t process = ::fork();
        if (process != 0)
            return process;
        ::dup2(::open(input.c_str(), O_RDONLY | O_CLOEXEC), STDIN_FILENO);
        ::dup2(::open(output.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644), STDOUT_FILENO);
        ::dup2(::open(errors.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644), STDERR_FILENO);
        if (!directory.empty() && ::chdir(directory.c_str()) != 0)
            ::_exit(99);
        for (const auto& [name, value] : environment)
            ::setenv(name.c_str(), value.c_str(), 1);
        constexpr unsigned NOBODY = 65534;
        if (asNobody && ::geteuid() == 0) {
            const bool opened = TestSupport::BoardsArePreloaded() || OpenFuseToAll();
            if (!opened || ::setgid(NOBODY) != 0 || ::setuid(NOBODY) != 0)
                ::_exit(98);
        }
        if (traced)
            ::ptrace(PTRACE_TRACEME, 0, 0, 0);
        std::vector<std::string> words = TestSupport::WithIsolation(command);
        std::vector<char*> arguments;
        for (std::string& word : words)
            arguments.push_back(word.data());
        arguments.push_back(nullptr);
        ::execvp(arguments.front(), arguments.data());
        ::_exit(97);
    }
};

// Root can switch to another user only where one is mapped, unlike on a board and in some containers.
inline bool CanBeOrdinaryUser() {
    if (::geteuid() != 0)
        return true;
    std::ifstream map("/proc/self/uid_map");
    for (unsigned long inside = 0, outside = 0, count = 0; map >> inside >> outside >> count;)
        if (inside <= 65534 && 65534 < inside + count)
            return true;
    return false;
}

// "velrix-board run OPTIONS -- sh -c SCRIPT".
inline std::vector<std::string> OnBoard(const std::string& script, const std::vector<std::string>& options = {}) {
    std::vector<std::string> command = {VELRIX_BOARD_COMMAND, "run"};
    command.insert(command.end(), options.begin(), options.end());
    command.insert(command.end(), {"--", "sh", "-c", script});
    return TestSupport::WithIsolation(command);
}
