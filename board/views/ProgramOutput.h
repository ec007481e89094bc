// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

#include "board/base/FileDescriptor.h"
#include "board/loop/ILoopPart.h"
#include "board/views/TerminalView.h"

namespace VelrixBoard {

// The program's output on a terminal that shows the board. One pipe keeps the order of standard output and standard
// error. Back pressure: while the view takes nothing, the pipe is not read, and the program blocks in its prints, as on
// the terminal.
class ProgramOutput final : public ILoopPart {
public:
    // Large enough for throughput, small enough for the event loop's latency.
    static constexpr std::size_t BYTES_PER_TURN = std::size_t{16} * 1024;

    // Throws BoardError when the pipe cannot be created.
    explicit ProgramOutput(TerminalView& terminalView);

    // The program's end of the pipe; closed here after process 1 has inherited it.
    int WritingEnd() const { return writing.Get(); }
    void CloseWritingEnd() { writing.Close(); }

    int Descriptor() const override { return view.TakesOutput() ? reading.Get() : -1; }
    void Run(BoardTime) override { (void)ReadSome(); }

    // Prints once. False when there is nothing to print, or the view takes nothing.
    bool ReadSome();

private:
    TerminalView& view;
    FileDescriptor reading;
    FileDescriptor writing;
};

} // namespace VelrixBoard
