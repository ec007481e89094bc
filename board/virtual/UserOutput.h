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

// A running board's output on standard error. Only Finish and AwaitReader wait for the reader.
class UserOutput final {
public:
    // Prints a line.
    void Say(const std::string& what);

    // Shows the board from now on. On a terminal in colour, with the program's output above it: the program then gets a
    // pipe. Throws BoardError.
    void Show(BoardState& state, const IBoardControl& control, Program& program, BoardTime now);

    // Process 1 has inherited the program's end of the pipe.
    void OnForked() {
        if (program)
            program->CloseWritingEnd();
    }

    std::vector<ILoopPart*> Parts();
    void OnResize(BoardTime now) {
        if (view)
            view->OnResize(now);
    }

    // Waits until the reader has everything written so far, like StreamWriter::Finish.
    bool AwaitReader(const StreamWriter::Patience& patience) { return errors.Finish(patience); }

    // Writes the rest of the program's output and the last picture, and waits likewise.
    void Finish(const Clock& clock, const StreamWriter::Patience& patience);

private:
    StreamWriter errors{STDERR_FILENO};
    std::unique_ptr<TerminalView> view;
    std::unique_ptr<ProgramOutput> program;
};

} // namespace VelrixBoard
