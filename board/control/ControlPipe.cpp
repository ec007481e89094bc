// SPDX-License-Identifier: Apache-2.0
#include "board/control/ControlPipe.h"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>

#include "board/base/BoardError.h"
#include "board/model/LevelText.h"
#include "board/model/OxboModule.h"

namespace VelrixBoard {

namespace {

// Longer than any command.
constexpr std::size_t LONGEST_LINE = 4096;

// Some 1600 commands, a few milliseconds; a limit, so that a fast writer does not keep the board in this loop.
constexpr int READS_PER_TURN = 4;

// "NAME=VALUE"
std::pair<std::string_view, std::string_view> Split(std::string_view text) {
    const std::size_t equals = text.find('=');
    if (equals == std::string_view::npos)
        throw BoardError("\"" + std::string(text) + "\" has no \"=\" and a value behind it");
    return {text.substr(0, equals), text.substr(equals + 1)};
}

} // namespace

// Opens for reading and writing, so that the pipe has no end between two writers.
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
    for (int reads = 0; reads < READS_PER_TURN; ++reads) {
        const ssize_t length = ::read(pipe.Get(), buffer.data(), buffer.size());
        if (length <= 0)
            return;
        Take({buffer.data(), static_cast<std::size_t>(length)});
    }
}

void ControlPipe::Take(std::string_view text) {
    for (std::size_t end = 0; (end = text.find('\n')) != std::string_view::npos; text.remove_prefix(end + 1)) {
        Collect(text.substr(0, end));
        EndLine();
    }
    Collect(text);
}

// The rest of a line that is too long must not count as a command.
void ControlPipe::Collect(std::string_view part) {
    tooLong = tooLong || part.size() > LONGEST_LINE - unfinished.size();
    if (!tooLong)
        unfinished += part;
}

void ControlPipe::EndLine() {
    if (tooLong) {
        tell("control: a line of more than " + std::to_string(LONGEST_LINE) + " bytes is no command; left out");
    } else {
        try {
            Obey(unfinished);
        } catch (const std::runtime_error& error) { // BoardError, FaultError
            tell("control \"" + unfinished + "\": " + error.what());
        }
    }
    unfinished.clear();
    tooLong = false;
}

void ControlPipe::Obey(std::string_view line) {
    const std::size_t blank = std::min(line.find(' '), line.size());
    const std::string_view verb = line.substr(0, blank);
    const std::string_view rest = line.substr(std::min(blank + 1, line.size()));
    if (verb == "set") {
        const auto [name, text] = Split(rest);
        const auto level = ParseLevel(text);
        if (!level)
            throw BoardError("a level is low or high");
        control.DriveInput(FindSignal(state, name), *level, InputDriver::PIPE);
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
