// SPDX-License-Identifier: Apache-2.0
#include "board/views/Pace.h"

#include <cmath>
#include <cstdio>
#include <utility>

namespace VelrixBoard {

Pace::Pace(Clock machineClock) : machine(std::move(machineClock)), machineBegin(machine()) {}

const std::string& Pace::TextAt(BoardTime time) {
    const BoardTime now = machine();
    if (now - machineBegin < WINDOW)
        return text;
    const double factor = std::chrono::duration<double>(time - boardBegin) / (now - machineBegin);
    boardBegin = time;
    machineBegin = now;
    constexpr double UNNOTICED = 0.1, FRACTIONS_BELOW = 10;
    char digits[32] = "";
    if (std::abs(factor - 1) > UNNOTICED)
        std::snprintf(digits, sizeof digits, "%.*fx", factor < FRACTIONS_BELOW ? 1 : 0, factor);
    return text = digits;
}

} // namespace VelrixBoard
