// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "board/scenario/Scenario.h"

namespace VelrixBoard {

// Something that happens to a program: a step "when" of a scenario.
struct Circumstance {
    std::string trigger; // "program starts", or a condition
    ScenarioTime after{0};
    std::string action;

    friend bool operator==(const Circumstance&, const Circumstance&) = default;
};

using Circumstances = std::vector<Circumstance>;

// The trigger of what has a time of its own.
inline const std::string PROGRAM_STARTS = "program starts";

// "when OXBO_RESET1_N is high after 3ms fault OXBO_IRQ_N EIO".
std::string LineOf(const Circumstance& circumstance);

// A time in the language of scenarios, exact: "1500us", "3ms", "2s".
std::string ExactTime(ScenarioTime time);

} // namespace VelrixBoard
