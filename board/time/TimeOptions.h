// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <optional>
#include <string_view>

namespace VelrixBoard {

// How the time of a board passes.
struct TimeOptions {
    // The board owns its programs' clock and skips the time in which nothing on the board runs.
    bool isVirtual = false;

    // How many times faster than the machine's the time passes at most; nothing: as fast as it goes.
    std::optional<double> pace;

    // What to do when a program waits in a way that the board's clock does not reach: end the run, or let time pass as
    // on the machine.
    enum class Unserved { REAL, FAIL };
    Unserved unserved = Unserved::REAL;

    // Where the wall clock begins, since 1970; nothing: at the machine's time.
    std::optional<std::chrono::nanoseconds> date;
};

// "real", "virtual" or a pace such as "5x" or "0.5x", from 0.001x to 100000x; nothing: none of these.
std::optional<TimeOptions> ParseTimeOptions(std::string_view text);

} // namespace VelrixBoard
