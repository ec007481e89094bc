// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>

#include "board/base/Clock.h"

namespace VelrixBoard {

// A part of the board that needs its loop's attention now and then. All are called on the loop's thread.
class ILoopPart {
public:
    virtual ~ILoopPart() = default;

    // The loop waits for it to become readable, or to have room; -1 where the part waits for the time alone. May change
    // from one round of the loop to the next.
    virtual int Descriptor() const = 0;
    virtual bool AwaitsRoom() const { return false; }

    // When Run is to be called at the latest; nothing: no need.
    virtual std::optional<BoardTime> Due() const = 0;

    // Called when the descriptor is ready or the time has come, and in between; does what there is to do and does
    // not block.
    virtual void Run(BoardTime now) = 0;
};

} // namespace VelrixBoard
