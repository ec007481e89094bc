// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "board/timeline/Timeline.h"

namespace VelrixBoard {

// The text of a VCD file, piece by piece: a portable subset with scalar wires in one scope, one change per time stamp,
// and no comments. Two changes in the same microsecond are one microsecond apart, because some viewers drop all but the
// last of a stamp.
class VcdText final {
public:
    static constexpr std::size_t MOST_SIGNALS = '~' - '!' + 1; // named by one printable character each

    // The names and the levels at time 0. Ignores the signals' changes.
    static std::string Header(const std::vector<Signal>& signals);

    // The signal with that index changed its level. A time before the last one comes right after it.
    std::string Change(std::size_t signal, bool level, TimelineTime time);

    // The recording's end, so that viewers show the duration of the last level.
    std::string End(TimelineTime time);

private:
    TimelineTime last{0};
};

} // namespace VelrixBoard
