// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace VelrixBoard {

// The exit code of "velrix-board run" when the board could not be made or went wrong.
inline constexpr int BOARD_GAVE_UP = 125;

// The scenario of a run, in the run's folder.
inline constexpr const char* TRIAL_SCENARIO = "run.scenario";

// The text without its line ends; a last line need not have one.
std::vector<std::string> LinesOf(const std::string& text);

// A text without its times, "1.250 s" or "38 ms": the same in runs where the same happened at other times.
std::string WithoutTimes(std::string_view text);

// What "velrix-board run --scenario" and its program printed on standard error: the program's lines, the board's
// ("velrix-board: ..."), and at the end one line per failed step and one with the counts.
class TrialReport final {
public:
    // scenario: the path of the run's.
    TrialReport(const std::string& errors, const std::string& scenario);

    // Why a run with this exit code other than 0 failed: the first failed step, "invariants.scenario:3: never MS is
    // red: ...", or what the board said. After a crash with the program's last line.
    std::string Message(int exitCode) const;

    // The same for all runs that show the same mistake: without the place, without times and what was seen instead.
    std::string Failure(int exitCode) const;

    // The program does not exist, or is none.
    bool CouldNotRun() const;

    // Why: the program's last line, or what the board said.
    std::string ReasonNotToRun() const;

    // What the board said.
    const std::vector<std::string>& Notes() const { return notes; }

private:
    std::string BoardsReason(int exitCode) const;
    bool IsCrash() const;

    std::string place;     // "invariants.scenario:3: "; empty for a step of the search
    std::string failed;    // the first failed step, "never MS is red: ..."
    std::string lastWords; // the last line that the program printed; empty: none
    std::vector<std::string> notes;
};

} // namespace VelrixBoard
