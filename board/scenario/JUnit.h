// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <ctime>
#include <string>
#include <vector>

#include "board/scenario/Scenario.h"
#include "board/scenario/ScenarioRunner.h"

namespace VelrixBoard {

// The name of a scenario's suite when the run has none: the file's name, without its folder and its ending.
std::string SuiteName(const std::string& scenarioPath);

// The results as a JUnit report: a suite of that name, with the moment when the program began, and a case per step.
// Steps not reached are skipped.
std::string JUnitReport(const std::string& suite, const Scenario& scenario, const std::vector<StepResult>& results,
                        std::time_t began);

// The report of a scenario that has a mistake: one case with an error.
std::string JUnitReport(const std::string& suite, const ScenarioError& mistake);

// For people: one line per failed step ("FILE:LINE: STEP: message"), and a last line with the counts.
std::string PlainReport(const Scenario& scenario, const std::vector<StepResult>& results);

} // namespace VelrixBoard
