// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "board/scenario/Scenario.h"
#include "board/scenario/ScenarioRunner.h"

namespace VelrixBoard {

// The results as a JUnit report: a suite named after the scenario's file, a case per step. Steps not reached are
// skipped.
std::string JUnitReport(const Scenario& scenario, const std::vector<StepResult>& results);

// For people: one line per failed step ("FILE:LINE: STEP: message"), and a last line with the counts.
std::string PlainReport(const Scenario& scenario, const std::vector<StepResult>& results);

} // namespace VelrixBoard
