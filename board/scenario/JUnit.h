// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <ctime>
#include <string>
#include <string_view>
#include <vector>

#include "board/model/BoardState.h"
#include "board/scenario/Scenario.h"
#include "board/scenario/ScenarioRunner.h"

namespace VelrixBoard {

// The name of a scenario's suite when the run has none: the file's name, without its folder and its ending.
std::string SuiteName(const std::string& scenarioPath);

// The end of what a program printed, for a report.
class CapturedOutput final {
public:
    static constexpr std::size_t MOST = std::size_t{64} * 1024; // bytes of each stream

    void Add(ProgramStream stream, std::string_view piece);

    // Without what is too much; a first line says how many bytes are left out.
    std::string Text(ProgramStream stream) const;

private:
    struct Stream {
        std::string text;
        std::size_t leftOut = 0;
    };
    std::array<Stream, 2> streams; // by ProgramStream
};

// The results as a JUnit report: a suite of that name, with the moment when the program began, a case per step, and
// what the program printed. Steps not reached are skipped.
std::string JUnitReport(const std::string& suite, const Scenario& scenario, const std::vector<StepResult>& results,
                        std::time_t began, const CapturedOutput& output = {});

// The report of a scenario that has a mistake: one case with an error.
std::string JUnitReport(const std::string& suite, const ScenarioError& mistake);

// For people: one line per failed step ("FILE:LINE: STEP: message"), and a last line with the counts.
std::string PlainReport(const Scenario& scenario, const std::vector<StepResult>& results);

} // namespace VelrixBoard
