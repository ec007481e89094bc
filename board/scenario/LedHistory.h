// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "board/scenario/Scenario.h"

namespace VelrixBoard {

// What one LED showed, as a person sees it.
//
// The elements of an LED are written one after the other, so that between two colours it shows a third one, or both,
// for an instant. Such instants, up to GLITCH, are no phases.
class LedHistory final {
public:
    static constexpr ScenarioTime GLITCH = std::chrono::milliseconds(5);

    struct Phase {
        std::string color; // "off", "green", several joined by "+"
        ScenarioTime begin;
        ScenarioTime end; // of the last phase: not yet known, and without a meaning
    };

    // An element has another level.
    void Set(const std::string& color, bool level, ScenarioTime time);

    // Takes the colour for lasting when it has been shown longer than a glitch. To be called as time passes, and at
    // Due().
    void Settle(ScenarioTime now);

    // When the colour that is shown will be a phase; nothing where it is one.
    std::optional<ScenarioTime> Due() const;

    // Earliest first, the last one still lasting; empty before the first has settled.
    const std::vector<Phase>& Phases() const { return phases; }

private:
    std::map<std::string, bool> elements;
    std::optional<Phase> candidate; // shown now, not yet long enough
    std::vector<Phase> phases;
};

} // namespace VelrixBoard
