// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "board/timeline/Timeline.h"

namespace VelrixBoard {

struct DifferenceOptions {
    // The largest time between two matching changes.
    TimelineTime tolerance{0};
    // Ignores levels that last no longer: several pins of one LED are never written at once.
    TimelineTime glitch{0};
    // Count times from the first change of each run, for runs that started at different speeds.
    bool fromFirstChange = false;
};

// The differences of run b from run a, a sentence each ("MS_red high 38 ms later: 1.288 s instead of 1.250 s"), in the
// order of the signals of a; empty where they agree. Changes of a signal are compared one by one in their order.
std::vector<std::string> Difference(const Timeline& a, const Timeline& b, const DifferenceOptions& options);

} // namespace VelrixBoard
