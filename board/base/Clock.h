// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <functional>

namespace VelrixBoard {

// Time since the board was started, fine enough to distinguish consecutive writes.
using BoardTime = std::chrono::nanoseconds;

// Gives the time since the board was started.
using Clock = std::function<BoardTime()>;

// A clock of a board that is started now.
inline Clock StartClock() {
    using Source = std::chrono::steady_clock;
    return [start = Source::now()] { return std::chrono::duration_cast<BoardTime>(Source::now() - start); };
}

// A jump of the board's wall clock: to a moment since 1970, or by a length of time, back where that is negative.
struct WallClockChange {
    bool isRelative = false;
    std::chrono::nanoseconds time{0};
};

} // namespace VelrixBoard
