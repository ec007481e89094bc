// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <vector>

#include "board/virtual/Placement.h"

namespace VelrixBoard {

// The value files of a board: how they come to be, how they show what the program writes, and how an input is driven.
//
// What the program writes goes into the BoardState that the implementation was given. The board asks Placements once,
// before the program starts, and calls Dispatch from its loop whenever the descriptor is readable.
class IDeviceFiles {
public:
    virtual ~IDeviceFiles() = default;

    // What is to be found at the device's paths beyond the directories that are the board's anyway.
    virtual std::vector<Placement> Placements() const = 0;

    // Readable when the program did something.
    virtual int Descriptor() const = 0;

    // Brings the state up to date; does not block.
    virtual void Dispatch() = 0;

    // Drives an input. The state has the level when this returns.
    virtual void DriveInput(std::size_t signal, bool level) = 0;
};

} // namespace VelrixBoard
