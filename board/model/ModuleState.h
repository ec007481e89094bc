// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <optional>

#include "board/base/Clock.h"

namespace VelrixBoard {

// The state of the simulated Oxbo module. A value.
struct ModuleState {
    enum class Phase {
        IN_RESET,
        STARTING,
        READY,
        SILENT // released, and never ready
    };

    bool inReset = true;
    bool ready = false; // it has pulled its interrupt line low since the release
    // The level of the ram-loader line at the last release; nothing before the first.
    std::optional<bool> ramLoaderAtRelease{};
    std::optional<BoardTime> due{};                        // when it becomes ready, if it is on the way there
    std::optional<std::chrono::milliseconds> readyAfter{}; // from the release on; nothing: never

    Phase CurrentPhase() const {
        if (inReset)
            return Phase::IN_RESET;
        if (ready)
            return Phase::READY;
        return due ? Phase::STARTING : Phase::SILENT;
    }
};

} // namespace VelrixBoard
