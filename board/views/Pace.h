// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "board/base/Clock.h"

namespace VelrixBoard {

// How many times faster than the machine's time the board's passes, for a picture of the board.
class Pace final {
public:
    explicit Pace(Clock machineClock);

    // Measured at least over this long, by the machine.
    static constexpr std::chrono::milliseconds WINDOW{500};

    // A picture shows the board at that time: "5.0x", "180x"; empty while it is the machine's pace.
    const std::string& TextAt(BoardTime time);

private:
    const Clock machine;
    BoardTime boardBegin{0};
    BoardTime machineBegin;
    std::string text;
};

} // namespace VelrixBoard
