// SPDX-License-Identifier: Apache-2.0
#include "board/scenario/LedHistory.h"

namespace VelrixBoard {

void LedHistory::Set(const std::string& color, bool level, ScenarioTime time) {
    Settle(time);
    elements[color] = level;
    std::string shown;
    for (const auto& [name, on] : elements)
        if (on)
            shown += (shown.empty() ? "" : "+") + name;
    if (shown.empty())
        shown = "off";

    // The previous phase ends at its last level, not after the glitch.
    if (!candidate && !phases.empty())
        phases.back().end = time;
    candidate = Phase{shown, time, time};
}

void LedHistory::Settle(ScenarioTime now) {
    if (!candidate || now - candidate->begin < GLITCH)
        return;
    if (phases.empty() || phases.back().color != candidate->color)
        phases.push_back(*candidate);
    candidate.reset();
}

std::optional<ScenarioTime> LedHistory::Due() const {
    if (!candidate)
        return std::nullopt;
    return candidate->begin + GLITCH;
}

} // namespace VelrixBoard
