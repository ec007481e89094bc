// SPDX-License-Identifier: Apache-2.0
#include "board/virtual/RebootStub.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

#include <fcntl.h>
#include <sys/auxv.h>
#include <unistd.h>

#include "board/virtual/FileDescriptor.h"

namespace VelrixBoard {

namespace {

constexpr const char* RECORD = "/dev/velrix-board/reboot";
constexpr std::string_view COMMANDS[] = {"reboot", "halt", "poweroff", "shutdown"};

} // namespace

std::vector<Placement> RebootStub::Placements(const std::filesystem::path& program,
                                              const std::filesystem::path& record) {
    std::vector<Placement> placements;
    placements.push_back({Placement::Kind::BIND, RECORD, record});
    // Often both are one directory, which is then covered once.
    for (const char* directory : {"/sbin", "/usr/sbin"})
        for (const std::string_view command : COMMANDS)
            placements.push_back({Placement::Kind::BIND, std::filesystem::path(directory) / command, program});
    return placements;
}

bool RebootStub::IsCalled() {
    // An address that the kernel hands over as a number.
    const auto* path = reinterpret_cast<const char*>(::getauxval(AT_EXECFN));
    const std::string name = path != nullptr ? std::filesystem::path(path).filename().string() : "";
    return std::find(std::begin(COMMANDS), std::end(COMMANDS), name) != std::end(COMMANDS);
}

std::string RebootStub::Record(const std::vector<std::string_view>& arguments) {
    std::string line;
    for (const std::string_view argument : arguments) {
        line += line.empty() ? "" : " ";
        for (const char c : argument) {
            if (c == ' ' || c == '\\')
                line += '\\';
            if (c == '\n')
                line += "\\n";
            else
                line += c;
        }
    }
    return line + "\n";
}

int RebootStub::Main(int argc, char** argv) {
    const std::string line = Record({argv, argv + argc});
    const FileDescriptor record(::open(RECORD, O_WRONLY | O_APPEND | O_CLOEXEC));
    // One write, so that calls at the same time do not mix.
    if (record && ::write(record.Get(), line.data(), line.size()) == static_cast<ssize_t>(line.size()))
        return 0;
    std::perror("velrix-board: cannot record the call");
    return 1;
}

} // namespace VelrixBoard
