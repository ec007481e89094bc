// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <chrono>

namespace VelrixBoard {

// The emulated machine's time: the host's, less all the time in which the machine stood still. Host times are since
// 1970, and are told in their order.
class MachineClock final {
public:
    using Time = std::chrono::microseconds;

    // The machine has stood still since then; it runs again.
    void Stop(Time host) { stopped = std::min(stopped, host); }
    void Run(Time host) {
        if (stopped < host)
            lost += host - stopped;
        stopped = Time::max();
    }

    // The machine's time at a moment of the host's, later than all that were told.
    Time At(Time host) const { return std::min(host, stopped) - lost; }

private:
    Time lost{0};
    Time stopped = Time::max();
};

} // namespace VelrixBoard
