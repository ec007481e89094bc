// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "board/virtual/BoardState.h"
#include "board/virtual/Clock.h"
#include "board/virtual/IBoardControl.h"
#include "board/virtual/ILoopPart.h"
#include "board/virtual/Program.h"
#include "board/virtual/ProgramOutput.h"
#include "board/virtual/StreamWriter.h"
#include "board/virtual/TerminalView.h"

namespace VelrixBoard {

// All that a running board shows and says on standard error. Nothing here waits for whoever reads it until the end.
class UserOutput final {
public:
    // How long the end of a board waits for a reader that takes nothing at all: time to read a page and to come back
    // to a terminal that was stopped, but not for ever.
    static constexpr std::chrono::minutes READER_LIMIT{10};

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

    // Whoever may end the waiting for a reader: isStopped is asked when one of the descriptors is readable.
    struct Patience {
        std::vector<int> descriptors;
        std::function<bool()> isStopped;
    };

    // Waits until what was written so far is read. False when the reader had READER_LIMIT, or the user has no patience.
    bool AwaitReader(const Patience& patience);

    // The same for the rest of the program's output and the last picture.
    void Finish(const Clock& clock, const Patience& patience);

private:
    StreamWriter errors{STDERR_FILENO};
    std::unique_ptr<TerminalView> view;
    std::unique_ptr<ProgramOutput> program;
};

} // namespace VelrixBoard
