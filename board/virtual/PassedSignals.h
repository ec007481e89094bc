// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <utility>

#include "board/base/FileDescriptor.h"
#include "board/loop/ILoopPart.h"
#include "board/loop/SignalBlock.h"

namespace VelrixBoard {

// The signals that other processes send to the board's own and that are meant for its program. For as long as it lives
// they are held back, for the loop or for the next program.
class PassedSignals final : public ILoopPart {
public:
    // isTaken says whether there is a program for them; passOn gives it one; onResize hears of the terminal's new size.
    PassedSignals(std::function<bool()> thereIsAProgram, std::function<void(int)> toProgram,
                  std::function<void(BoardTime)> resize);

    int Descriptor() const override { return isTaken() ? file.Get() : -1; }
    void Run(BoardTime now) override;

    // When only the rest of the output is left to wait for: becomes readable, and whether one has come that asks the
    // board to end.
    int Waiting() const { return file.Get(); }
    bool TakeAny();

private:
    SignalBlock signals{SIGHUP, SIGINT, SIGQUIT, SIGUSR1, SIGUSR2, SIGWINCH};
    FileDescriptor file;
    std::function<bool()> isTaken;
    std::function<void(int)> passOn;
    std::function<void(BoardTime)> onResize;
};

} // namespace VelrixBoard
