// SPDX-License-Identifier: Apache-2.0
#include "board/virtual/UserOutput.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <string_view>
#include <utility>

#include <sys/ioctl.h>
#include <unistd.h>

namespace VelrixBoard {

namespace {

bool IsTerminal(int descriptor) {
    const char* name = std::getenv("TERM");
    return ::isatty(descriptor) == 1 && name != nullptr && std::string_view(name) != "dumb";
}

// By the convention of no-color.org: set and not empty.
bool WantsColors() {
    const char* text = std::getenv("NO_COLOR");
    return text == nullptr || *text == '\0';
}

TerminalView::Size TerminalSize() {
    constexpr TerminalView::Size USUAL = {80, 24};
    winsize size{};
    return ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 && size.ws_row > 0
               ? TerminalView::Size{size.ws_col, size.ws_row}
               : USUAL;
}

// More than a pipe can hold: the kernel's /proc/sys/fs/pipe-max-size.
constexpr std::size_t LARGEST_PIPE = std::size_t{1024} * 1024;

} // namespace

void UserOutput::Say(const std::string& what) {
    const std::string text = "velrix-board: " + what + "\n";
    if (view)
        view->Say(text);
    else
        errors.Write(text);
}

void UserOutput::Hint(const std::string& what) {
    if (::isatty(STDERR_FILENO) == 1)
        Say(what);
}

void UserOutput::Show(BoardState& state, const IBoardControl& control, BoardTime now) {
    using Style = TerminalView::Style;
    hasPicture = IsTerminal(STDERR_FILENO);
    const Style style = !hasPicture ? Style::LINES : WantsColors() ? Style::BLOCK : Style::PLAIN_BLOCK;
    view = std::make_unique<TerminalView>(state, control, style, TerminalSize, errors);
    view->ShowPace(StartClock());
    state.Add(*view);
    if (hasPicture)
        view->OnSettled(now);
}

ProgramOutput& UserOutput::AddPipe(ProgramOutput::Reader reader) {
    passed.push_back(std::make_unique<ProgramOutput>(std::move(reader)));
    return *passed.back();
}

void UserOutput::PassOn(BoardState& state, const Hears& hears, Program& program) {
    const auto pipeTo = [&](ProgramStream stream, bool isInPicture) {
        if (stream == ProgramStream::OUTPUT && !isInPicture)
            output.emplace(STDOUT_FILENO);
        StreamWriter& writer = output && stream == ProgramStream::OUTPUT ? *output : errors;
        const bool isHeard = hears(stream);
        return AddPipe(
                   {[this, &state, &writer, stream, isInPicture, isHeard](std::string_view piece, BoardTime now) {
                        if (isInPicture)
                            view->Print(piece);
                        else
                            writer.Write(piece);
                        if (isHeard)
                            state.Tell(&BoardObserver::OnOutput, stream, piece, now);
                    },
                    [this, &writer, isInPicture] { return isInPicture ? view->TakesOutput() : writer.IsWritten(); }})
            .WritingEnd();
    };
    const bool isOutputInPicture = hasPicture && ::isatty(STDOUT_FILENO) == 1;
    const bool isAnyHeard = hears(ProgramStream::OUTPUT) || hears(ProgramStream::ERRORS);
    if (hasPicture || hears(ProgramStream::ERRORS))
        program.standardError = pipeTo(ProgramStream::ERRORS, hasPicture);
    // One pipe for both keeps their order, but not whose output it was.
    if (isOutputInPicture && !isAnyHeard)
        program.standardOutput = program.standardError;
    else if (isOutputInPicture || hears(ProgramStream::OUTPUT))
        program.standardOutput = pipeTo(ProgramStream::OUTPUT, isOutputInPicture);
}

std::vector<ILoopPart*> UserOutput::Parts() {
    std::vector<ILoopPart*> parts = {&errors};
    if (output)
        parts.push_back(&*output);
    if (view)
        parts.push_back(view.get());
    for (const auto& each : passed)
        parts.push_back(each.get());
    return parts;
}

void UserOutput::Finish(const Clock& clock, const StreamWriter::Patience& patience) {
    // After the program's end only what the pipes hold is left, unless a process got away that goes on printing.
    for (std::size_t i = 0; i <= LARGEST_PIPE / ProgramOutput::BYTES_PER_TURN; ++i) {
        if (!AwaitReader(patience))
            return;
        if (std::ranges::count_if(passed, [&](const auto& each) { return each->ReadSome(clock()); }) == 0)
            break;
    }
    if (!view)
        return;
    view->Finish(clock());
    (void)AwaitReader(patience);
}

} // namespace VelrixBoard
