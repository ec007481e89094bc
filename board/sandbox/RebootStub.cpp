// SPDX-License-Identifier: Apache-2.0
#include "board/sandbox/RebootStub.h"

#include <algorithm>
#include <cstdio>
#include <initializer_list>
#include <iterator>

#include <fcntl.h>
#include <sys/auxv.h>
#include <unistd.h>

#include "board/base/FileDescriptor.h"

namespace VelrixBoard {

namespace {

constexpr const char* RECORD = "/dev/velrix-board/reboot";
constexpr std::string_view COMMANDS[] = {"reboot", "halt", "poweroff", "shutdown"};

// Splits a line of the record into words; escapes do not matter for commands and options.
std::vector<std::string> Words(std::string_view line) {
    std::vector<std::string> words(1);
    bool escaped = false;
    for (const char c : line) {
        if (c == ' ' && !escaped)
            words.emplace_back();
        else
            words.back() += c;
        escaped = c == '\\' && !escaped;
    }
    return words;
}

} // namespace

std::vector<Placement> RebootStub::Placements(const std::filesystem::path& program,
                                              const std::filesystem::path& record) {
    std::vector<Placement> placements;
    placements.push_back({Placement::Kind::BIND, RECORD, record});
    // Often both are the same directory.
    for (const char* directory : {"/sbin", "/usr/sbin"})
        for (const std::string_view command : COMMANDS)
            placements.push_back({Placement::Kind::BIND, std::filesystem::path(directory) / command, program});
    return placements;
}

bool RebootStub::IsCalled() {
    // The kernel passes the address as a number.
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

RebootStub::Effect RebootStub::EffectOf(std::string_view call) {
    const std::vector<std::string> words = Words(call);
    const std::string command = std::filesystem::path(words.front()).filename();
    const bool isShutdown = command == "shutdown";
    const bool halts = isShutdown || command == "halt" || command == "poweroff";
    const auto has = [&words](std::initializer_list<std::string_view> options) {
        return std::any_of(words.begin() + 1, words.end(), [&](const std::string& word) {
            return std::find(options.begin(), options.end(), word) != options.end();
        });
    };
    if (has({"--help", "-w", "--wtmp-only"}) || (isShutdown && has({"-c", "-k", "--show"})))
        return Effect::NONE;
    if (has({"--halt", "--poweroff", "-p"}))
        return Effect::HALT;
    if (halts && !has({"--reboot"}) && !(isShutdown && has({"-r"})))
        return Effect::HALT;
    return Effect::RESTART;
}

int RebootStub::Main(int argc, char** argv) {
    const std::string line = Record({argv, argv + argc});
    const FileDescriptor record(::open(RECORD, O_WRONLY | O_APPEND | O_CLOEXEC));
    // One write, so that concurrent calls do not mix.
    if (record && ::write(record.Get(), line.data(), line.size()) == static_cast<ssize_t>(line.size()))
        return 0;
    std::perror("velrix-board: cannot record the call");
    return 1;
}

} // namespace VelrixBoard
