// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "board/timeline/Timeline.h"

namespace VelrixBoard {

struct DifferenceOptions {
    // How far apart a change may be in the two runs and still count as the same.
    TimelineTime tolerance{0};
    // A level that lasts no longer than this is not looked at: several pins of one LED are never written at once.
    TimelineTime glitch{0};
    // Count times from the first change of each run, for runs that started at different speeds.
    bool fromFirstChange = false;
};

// Where run b differs from run a, a sentence for each difference ("MS_red high 38 ms later: 1.288 s instead of 1.250
// s"), in the order of the signals of a; empty where they agree. Changes of a signal are compared one by one in their
// order.
std::vector<std::string> Difference(const Timeline& a, const Timeline& b, const DifferenceOptions& options);

} // namespace VelrixBoard
