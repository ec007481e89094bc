// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>

#include "board/base/Clock.h"

namespace VelrixBoard {

// A part of the board that the event loop runs (board/loop/EventLoop.h), on the loop's thread.
class ILoopPart {
public:
    virtual ~ILoopPart() = default;

    // The loop waits for it to become readable, or writable; -1: only for the time. May change in every round.
    virtual int Descriptor() const { return -1; }
    virtual bool AwaitsRoom() const { return false; }

    // The deadline of the next Run, if any. The loop asks before it waits, and again at the part's turn.
    virtual std::optional<BoardTime> Due() const { return std::nullopt; }

    // Called when the descriptor is ready or the part is due. Must not block; leaves endless work to the next round.
    virtual void Run(BoardTime now) = 0;

    virtual bool RunsInEveryRound() const { return false; }
};

} // namespace VelrixBoard
