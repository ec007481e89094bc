// SPDX-License-Identifier: Apache-2.0
#include "board/virtual/UserOutput.h"

#include <cstdlib>
#include <string_view>

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

} // namespace

void UserOutput::Say(const std::string& what) {
    const std::string text = "velrix-board: " + what + "\n";
    if (view)
        view->Say(text);
    else
        errors.Write(text);
}

void UserOutput::Show(BoardState& state, const IBoardControl& control, Program& shown, BoardTime now) {
    const bool block = IsTerminal(STDERR_FILENO);
    using Style = TerminalView::Style;
    const Style style = !block ? Style::LINES : WantsColors() ? Style::BLOCK : Style::PLAIN_BLOCK;
    view = std::make_unique<TerminalView>(state, control, style, TerminalSize, errors);
    state.Add(*view);
    if (!block)
        return;
    program = std::make_unique<ProgramOutput>(*view);
    shown.standardError = program->WritingEnd();
    if (::isatty(STDOUT_FILENO) == 1)
        shown.standardOutput = program->WritingEnd();
    view->OnSettled(now);
}

std::vector<ILoopPart*> UserOutput::Parts() {
    std::vector<ILoopPart*> parts = {&errors};
    if (view)
        parts.push_back(view.get());
    if (program)
        parts.push_back(program.get());
    return parts;
}

void UserOutput::Finish(const Clock& clock, const StreamWriter::Patience& patience) {
    do
        if (!AwaitReader(patience))
            return;
    while (program && program->ReadSome());
    if (!view)
        return;
    view->Finish(clock());
    (void)AwaitReader(patience);
}

} // namespace VelrixBoard
