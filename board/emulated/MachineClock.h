// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <chrono>

namespace VelrixBoard {

// The emulated machine's clock: the host's time less the time in which the machine was stopped. Host times are since
// 1970, in order.
class MachineClock final {
public:
    using Time = std::chrono::microseconds;

    // The machine stopped, or runs again.
    void Stop(Time host) { stopped = std::min(stopped, host); }
    void Run(Time host) {
        if (stopped < host)
            lost += host - stopped;
        stopped = Time::max();
    }

    // The machine's time at a host time later than all transitions.
    Time At(Time host) const { return std::min(host, stopped) - lost; }

private:
    Time lost{0};
    Time stopped = Time::max();
};

} // namespace VelrixBoard
