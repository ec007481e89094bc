// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "board/scenario/Scenario.h"

namespace VelrixBoard {

// The colours that one LED showed, debounced.
//
// The elements of an LED are written one after the other, so that between two colours it shows a third one, or both,
// for an instant. Such glitches, up to GLITCH, are not phases.
class LedHistory final {
public:
    static constexpr ScenarioTime GLITCH = std::chrono::milliseconds(5);

    struct Phase {
        std::string color; // "off", "green", several joined by "+"
        ScenarioTime begin;
        ScenarioTime end; // undefined for the last phase
    };

    // An element changed its level.
    void Set(const std::string& color, bool level, ScenarioTime time);

    // Turns a colour that has been shown longer than a glitch into a phase. Call it as time passes, and at Due().
    void Settle(ScenarioTime now);

    // When the current colour becomes a phase; nothing if it is one.
    std::optional<ScenarioTime> Due() const;

    // Earliest first, the last one is current; empty before the first phase.
    const std::vector<Phase>& Phases() const { return phases; }

private:
    std::map<std::string, bool> elements;
    std::optional<Phase> candidate; // the current colour, not yet a phase
    std::vector<Phase> phases;
};

} // namespace VelrixBoard
