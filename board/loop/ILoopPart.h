// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>

#include "board/base/Clock.h"

namespace VelrixBoard {

// A part of the board that needs its loop's attention now and then (board/loop/EventLoop.h). All are called on the
// loop's thread.
class ILoopPart {
public:
    virtual ~ILoopPart() = default;

    // The loop waits for it to become readable, or to have room; -1 where the part waits for the time alone. May change
    // from one round of the loop to the next.
    virtual int Descriptor() const { return -1; }
    virtual bool AwaitsRoom() const { return false; }

    // When Run is to be called at the latest; nothing: no need. The loop asks before it waits, and again at the part's
    // turn.
    virtual std::optional<BoardTime> Due() const { return std::nullopt; }

    // Called when the descriptor is ready or the time has come; does what there is to do and does not block. A part
    // that always has more to do leaves some of it to the next round.
    virtual void Run(BoardTime now) = 0;

    // Run is called in every round, whatever the loop has waited for.
    virtual bool RunsInEveryRound() const { return false; }
};

} // namespace VelrixBoard
