// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

#include "board/base/FileDescriptor.h"
#include "board/loop/ILoopPart.h"
#include "board/views/TerminalView.h"

namespace VelrixBoard {

// What the program prints onto a terminal that shows the board: it passes by the view, through one pipe, which keeps
// the order of both outputs. While the view takes nothing, nothing is read: then the program waits as it would for the
// terminal, in its prints alone.
class ProgramOutput final : public ILoopPart {
public:
    // Enough to print fast; little enough for what else the loop has to do.
    static constexpr std::size_t BYTES_PER_TURN = std::size_t{16} * 1024;

    // Throws BoardError when there can be no pipe.
    explicit ProgramOutput(TerminalView& terminalView);

    // The program's end, for process 1; closed here once that has it.
    int WritingEnd() const { return writing.Get(); }
    void CloseWritingEnd() { writing.Close(); }

    int Descriptor() const override { return view.TakesOutput() ? reading.Get() : -1; }
    std::optional<BoardTime> Due() const override { return std::nullopt; }
    void Run(BoardTime) override { (void)ReadSome(); }

    // Prints once. False when there is nothing to print, or the view takes nothing.
    bool ReadSome();

private:
    TerminalView& view;
    FileDescriptor reading;
    FileDescriptor writing;
};

} // namespace VelrixBoard
