// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <memory>
#include <optional>
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

// A running board's output on standard error, and the program's where the board passes it on. Only Finish and
// AwaitReader wait for the reader.
class UserOutput final {
public:
    // Prints a line.
    void Say(const std::string& what);

    // The same for a person alone: on a terminal.
    void Hint(const std::string& what);

    // Shows the board from now on, on a terminal in colour.
    void Show(BoardState& state, const IBoardControl& control, BoardTime now);

    // Gives the program a pipe for a stream that somebody hears, and for one that would disturb the board's picture;
    // the output goes on to the stream, or above the picture, and to the observers. After Show. Throws BoardError.
    using Hears = std::function<bool(ProgramStream)>;
    void PassOn(BoardState& state, const Hears& hears, Program& program);

    // Process 1 has inherited the program's ends of the pipes.
    void OnForked() {
        for (const auto& each : passed)
            each->CloseWritingEnd();
    }

    std::vector<ILoopPart*> Parts();
    void OnResize(BoardTime now) {
        if (view)
            view->OnResize(now);
    }

    // Waits until the reader has everything written so far, like StreamWriter::Finish.
    bool AwaitReader(const StreamWriter::Patience& patience) {
        return (!output || output->Finish(patience)) && errors.Finish(patience);
    }

    // Writes the rest of the program's output and the last picture, and waits likewise.
    void Finish(const Clock& clock, const StreamWriter::Patience& patience);

private:
    ProgramOutput& AddPipe(ProgramOutput::Reader reader);

    std::optional<StreamWriter> output;
    StreamWriter errors{STDERR_FILENO};
    std::unique_ptr<TerminalView> view;
    bool hasPicture = false;
    std::vector<std::unique_ptr<ProgramOutput>> passed;
};

} // namespace VelrixBoard
