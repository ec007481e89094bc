// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <string>

namespace VelrixBoard {

// How far a search is.
struct Progress {
    int runs = 0;               // of the search
    int extraRuns = 0;          // to play known failures, and to shrink new ones
    std::size_t behaviours = 0; // features seen
    std::size_t failures = 0;
    bool isShrinking = false;
};

// "312 of 1000 runs, 5.2 a second, 2 min 12 s left, 41 behaviours, 1 failure". trials: all runs so far, in that time.
std::string TextOf(const Progress& progress, int planned, int trials, std::chrono::duration<double> passed);

// Shows a search on standard error: one line that is written again and again on a terminal, otherwise a line every few
// seconds.
class ProgressLine final {
public:
    explicit ProgressLine(int plannedRuns);
    // Leaves a terminal's line empty.
    ~ProgressLine();
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    void Set(const Progress& newProgress) { progress = newProgress; }

    // Before something else is printed there.
    void Clear() const;

    // A run has ended.
    void OnTrial();

private:
    using SteadyClock = std::chrono::steady_clock;

    const int planned;
    const bool isTerminal;
    const SteadyClock::time_point begin = SteadyClock::now();
    SteadyClock::time_point last = begin;
    Progress progress;
    int trials = 0;
};

} // namespace VelrixBoard
