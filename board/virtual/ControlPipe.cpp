// SPDX-License-Identifier: Apache-2.0
#include "board/virtual/ControlPipe.h"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>

#include "board/virtual/BoardError.h"
#include "board/virtual/ReadyTime.h"

namespace VelrixBoard {

namespace {

// More than any command; what is longer is none, and is not collected for ever.
constexpr std::size_t LONGEST_LINE = 4096;

// "NAME=VALUE"
std::pair<std::string_view, std::string_view> Split(std::string_view text) {
    const std::size_t equals = text.find('=');
    if (equals == std::string_view::npos)
        throw BoardError("\"" + std::string(text) + "\" has no \"=\" and a value behind it");
    return {text.substr(0, equals), text.substr(equals + 1)};
}

} // namespace

// Open for reading and writing: the pipe has no end as long as the board lives, however many write into it in turn.
ControlPipe::ControlPipe(const std::filesystem::path& path, const BoardState& boardState, IBoardControl& boardControl,
                         TellUser tellUser)
    : state(boardState), control(boardControl), tell(std::move(tellUser)) {
    if (::mkfifo(path.c_str(), 0600) != 0)
        ThrowSystemError("cannot make the control pipe " + path.string());
    pipe = FileDescriptor(::open(path.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC));
    if (!pipe)
        ThrowSystemError("cannot open the control pipe " + path.string());
}

void ControlPipe::Run(BoardTime) {
    std::array<char, LONGEST_LINE> buffer;
    for (ssize_t length = 0; (length = ::read(pipe.Get(), buffer.data(), buffer.size())) > 0;) {
        unfinished.append(buffer.data(), static_cast<std::size_t>(length));
        for (std::size_t end = 0; (end = unfinished.find('\n')) != std::string::npos; unfinished.erase(0, end + 1)) {
            const std::string line = unfinished.substr(0, end);
            try {
                Obey(line);
            } catch (const std::runtime_error& error) { // BoardError, FaultError
                tell("control \"" + line + "\": " + error.what());
            }
        }
        if (unfinished.size() > LONGEST_LINE)
            unfinished.clear();
    }
}

void ControlPipe::Obey(std::string_view line) {
    const std::size_t blank = std::min(line.find(' '), line.size());
    const std::string_view verb = line.substr(0, blank);
    const std::string_view rest = line.substr(std::min(blank + 1, line.size()));
    if (verb == "set") {
        const auto [name, level] = Split(rest);
        if (level != "0" && level != "1")
            throw BoardError("a level is 0 or 1");
        control.DriveInput(FindSignal(state, name), level == "1");
    } else if (verb == "fault") {
        const auto [name, fault] = Split(rest);
        control.SetFault(FindSignal(state, name), fault == "none" ? std::nullopt : std::optional(ParseFault(fault)));
    } else if (verb == "oxbo-ready-after") {
        control.SetOxboReadyAfter(ParseReadyTime(rest));
    } else {
        throw BoardError("there are set NAME=LEVEL, fault NAME=FAULT and oxbo-ready-after TIME");
    }
}

} // namespace VelrixBoard
