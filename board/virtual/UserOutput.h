// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "board/base/Clock.h"
#include "board/control/IBoardControl.h"
#include "board/loop/ILoopPart.h"
#include "board/loop/StreamWriter.h"
#include "board/model/BoardState.h"
#include "board/sandbox/Program.h"
#include "board/views/ProgramOutput.h"
#include "board/views/TerminalView.h"

namespace VelrixBoard {

// All that a running board shows and says on standard error. Nothing here waits for whoever reads it until the end.
class UserOutput final {
public:
    // A line.
    void Say(const std::string& what);

    // Shows the board from now on, in colour and with the program's output above it where standard error is a terminal:
    // the program then gets a pipe. Throws BoardError.
    void Show(BoardState& state, const IBoardControl& control, Program& program, BoardTime now);

    // Process 1 has the program's end of the pipe.
    void OnForked();

    // For the loop.
    std::vector<ILoopPart*> Parts();
    void OnResize(BoardTime now);

    // Waits until what was written so far is read, as StreamWriter::Finish does.
    bool AwaitReader(const StreamWriter::Patience& patience) { return errors.Finish(patience); }

    // The same for the rest of the program's output and the last picture.
    void Finish(const Clock& clock, const StreamWriter::Patience& patience);

private:
    StreamWriter errors{STDERR_FILENO};
    std::unique_ptr<TerminalView> view;
    std::unique_ptr<ProgramOutput> program;
};

} // namespace VelrixBoard
