// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "board/explore/CircumstanceMaker.h"
#include "board/explore/Progress.h"
#include "board/explore/Trial.h"

namespace VelrixBoard {

// A mistake that the search found, with the fewest circumstances that still show it.
struct FoundFailure {
    std::string failure; // TrialResult::failure
    std::string message;
    Circumstances circumstances;
    int run = 0;                        // of the search, from 1; 0: a known case
    std::optional<std::size_t> known{}; // which of the known cases
    bool isRepeatable = true;           // the same circumstances showed it a second time; otherwise not shrunk
};

// A search through what can happen to a program. Deterministic: the same seed, bounds and results of runs give the same
// cases in the same order, whatever the number of runs at a time, and whatever failures are known.
class Explorer final {
public:
    // Runs all of these cases and gives their results in the same order. Returns fewer when the user stops the search.
    using RunAll = std::function<std::vector<TrialResult>(const std::vector<Circumstances>& cases)>;
    using Report = std::function<void(const Progress& progress)>;

    Explorer(CircumstanceMaker circumstanceMaker, RunAll runAll, Report reportProgress)
        : maker(std::move(circumstanceMaker)), run(std::move(runAll)), report(std::move(reportProgress)) {}

    // Plays these first: failures of earlier searches. What each one shows now; fewer when the user stops.
    std::vector<TrialResult> PlayKnown(const std::vector<Circumstances>& cases);

    // Until so many runs are done, there are MOST_FAILURES, or the user stops. Shrinks each failure when it is found.
    void Search(int runs);

    // In the order of their discovery.
    const std::vector<FoundFailure>& Failures() const { return failures; }
    const Progress& Sum() const { return sum; }
    bool IsStopped() const { return isStopped; }

    // Cases that run together before their results are looked at.
    static constexpr std::size_t GENERATION = 16;

    // Runs to confirm and shrink one failure.
    static constexpr int MOST_SHRINKING = 200;

    // A program that fails in so many ways needs no further search.
    static constexpr std::size_t MOST_FAILURES = 50;

private:
    bool GoesOn() const { return !isStopped && found < MOST_FAILURES; }
    Circumstances NextCase();
    std::vector<TrialResult> RunSome(const std::vector<Circumstances>& cases);
    void Play(const std::vector<Circumstances>& cases, int firstRun);
    void Learn(const Circumstances& circumstances, const TrialResult& result);
    void Add(FoundFailure failure);
    // Plays it once more.
    void Confirm(FoundFailure& failure, int& left);
    void Shrink(FoundFailure& failure, int& left);
    void ShrinkTimes(FoundFailure& failure, int& left);
    bool ReplaceByFirstThatFails(FoundFailure& failure, const std::vector<Circumstances>& candidates, int& left);

    CircumstanceMaker maker;
    const RunAll run;
    const Report report;
    Progress sum;
    bool isStopped = false;
    std::set<std::string> features;
    std::vector<Circumstances> interesting; // led to behaviour that was new
    std::size_t turn = 0;
    std::set<std::string> known;
    std::vector<FoundFailure> failures;
    std::size_t found = 0; // failures that were not known
};

} // namespace VelrixBoard
