// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "board/scenario/Scenario.h"
#include "board/timeline/Timeline.h"

namespace VelrixBoard {

// What a run showed, as features that can be compared with those of other runs: which change of a line or LED element
// followed which, and the lines that the program printed or logged, without their numbers.
std::set<std::string> FeaturesOf(const Timeline& timeline, const std::vector<std::string>& logs);

// The conditions of a scenario that became true in the run, as far as one line or LED element makes them so:
// "OXBO_RESET1_N is high", "MS is green".
std::vector<std::string> EventsOf(const Timeline& timeline, const ScenarioNames& names);

// A text without its numbers: what is the same in runs that differ by times, addresses and counts.
std::string WithoutNumbers(std::string_view text);

} // namespace VelrixBoard
