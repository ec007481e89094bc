// SPDX-License-Identifier: Apache-2.0
#include "board/sandbox/Residents.h"

#include <algorithm>
#include <charconv>
#include <csignal>
#include <ctime>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "board/base/FileDescriptor.h"

namespace VelrixBoard {

namespace {

constexpr int END_STEPS = 1000;
constexpr timespec END_STEP = {0, 10'000'000};

struct Process {
    pid_t number;
    pid_t parent;
    char state;
};

// Reads a process from /proc. False when the process has just ended.
bool ReadProcess(const std::filesystem::path& directory, Process& process) {
    const FileDescriptor file(::open((directory / "stat").c_str(), O_RDONLY | O_CLOEXEC));
    char text[256];
    const ssize_t length = file ? ::read(file.Get(), text, sizeof text) : 0;
    const std::string_view stat(text, length > 0 ? static_cast<std::size_t>(length) : 0);
    // "NUMBER (NAME) STATE PARENT ...". The name may contain any character.
    const std::size_t nameEnd = stat.rfind(") ");
    if (nameEnd == std::string_view::npos || stat.size() < nameEnd + 5)
        return false;
    process.state = stat[nameEnd + 2];
    const std::string_view parent = stat.substr(nameEnd + 4);
    return std::from_chars(stat.data(), stat.data() + stat.size(), process.number).ec == std::errc() &&
           std::from_chars(parent.data(), parent.data() + parent.size(), process.parent).ec == std::errc();
}

std::vector<Process> AllProcesses() {
    std::vector<Process> processes;
    std::error_code error;
    for (std::filesystem::directory_iterator entry("/proc", error), end; !error && entry != end;
         entry.increment(error)) {
        Process process{};
        if (entry->path().filename().native().find_first_not_of("0123456789") == std::string::npos &&
            ReadProcess(entry->path(), process))
            processes.push_back(process);
    }
    return processes;
}

// The descendants of this process.
std::vector<Process> AllDescendants() {
    std::vector<Process> others = AllProcesses(), found;
    std::vector<pid_t> parents = {::getpid()};
    while (!parents.empty()) {
        const pid_t parent = parents.back();
        parents.pop_back();
        const auto children = std::partition(others.begin(), others.end(),
                                             [parent](const Process& process) { return process.parent != parent; });
        std::for_each(children, others.end(), [&parents](const Process& child) { parents.push_back(child.number); });
        found.insert(found.end(), children, others.end());
        others.erase(children, others.end());
    }
    return found;
}

} // namespace

std::vector<pid_t> Descendants() {
    std::vector<pid_t> numbers;
    for (const Process& process : AllDescendants())
        numbers.push_back(process.number);
    return numbers;
}

void Residents::Signal(int number) const {
    if (ownNumbers) {
        ::kill(-1, number);
        return;
    }
    for (const pid_t process : Descendants())
        ::kill(process, number);
}

bool Residents::AnyWorks() const {
    const std::vector<Process> processes = AllDescendants();
    return std::any_of(processes.begin(), processes.end(),
                       [](const Process& process) { return process.state == 'R' || process.state == 'D'; });
}

void Residents::End() const {
    for (int i = 0; i < END_STEPS; ++i) {
        Signal(SIGKILL);
        pid_t ended = 0;
        while ((ended = ::waitpid(-1, nullptr, WNOHANG)) > 0) {
        }
        if (ended < 0)
            return;
        ::nanosleep(&END_STEP, nullptr);
    }
}

} // namespace VelrixBoard
