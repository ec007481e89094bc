// SPDX-License-Identifier: Apache-2.0
#include "board/explore/Explorer.h"

#include <algorithm>
#include <cstddef>

namespace VelrixBoard {

namespace {

// Round times, which a reader takes in at once, from the roundest.
constexpr ScenarioTime ROUND[] = {std::chrono::seconds(1), std::chrono::milliseconds(100),
                                  std::chrono::milliseconds(10), std::chrono::milliseconds(1)};

// Cases that led to something new and are varied; the newest stay.
constexpr std::size_t MOST_INTERESTING = 500;

} // namespace

// Teaches the search nothing, which therefore does the same without them.
std::vector<TrialResult> Explorer::PlayKnown(const std::vector<Circumstances>& cases) {
    std::vector<TrialResult> all;
    while (all.size() < cases.size() && !isStopped) {
        const auto begin = cases.begin() + static_cast<std::ptrdiff_t>(all.size());
        const auto count = static_cast<std::ptrdiff_t>(std::min(GENERATION, cases.size() - all.size()));
        const std::vector<TrialResult> results = RunSome({begin, begin + count});
        sum.extraRuns += static_cast<int>(results.size());
        all.insert(all.end(), results.begin(), results.end());
        report(sum);
    }
    for (std::size_t i = 0; i < all.size(); ++i)
        if (!all[i].failure.empty() && known.insert(all[i].failure).second)
            failures.push_back({all[i].failure, all[i].message, cases[i], 0, i});
    sum.failures = failures.size();
    return all;
}

void Explorer::Search(int runs) {
    // The program left alone shows the events that things can happen at.
    if (GoesOn() && runs > 0)
        Play({Circumstances()}, 1);
    for (int made = 1; made < runs && GoesOn();) {
        std::vector<Circumstances> cases;
        for (std::size_t i = 0; i < GENERATION && made + static_cast<int>(i) < runs; ++i)
            cases.push_back(NextCase());
        Play(cases, made + 1);
        made += static_cast<int>(cases.size());
    }
}

// Every other case is a variation of one that showed something new.
Circumstances Explorer::NextCase() {
    ++turn;
    if (turn % 2 == 0 && !interesting.empty())
        return maker.Vary(interesting[turn / 2 % interesting.size()]);
    return maker.Make();
}

std::vector<TrialResult> Explorer::RunSome(const std::vector<Circumstances>& cases) {
    std::vector<TrialResult> results = run(cases);
    isStopped = isStopped || results.size() < cases.size();
    return results;
}

void Explorer::Play(const std::vector<Circumstances>& cases, int firstRun) {
    const std::vector<TrialResult> results = RunSome(cases);
    for (std::size_t i = 0; i < results.size(); ++i) {
        ++sum.runs;
        Learn(cases[i], results[i]);
        if (results[i].failure.empty() || !known.insert(results[i].failure).second)
            continue;
        Add({results[i].failure, results[i].message, cases[i], firstRun + static_cast<int>(i)});
    }
    report(sum);
}

void Explorer::Learn(const Circumstances& circumstances, const TrialResult& result) {
    const std::size_t before = features.size();
    features.insert(result.features.begin(), result.features.end());
    sum.behaviours = features.size();
    for (const std::string& event : result.events)
        maker.AddEvent(event);
    if (features.size() == before || circumstances.empty())
        return;
    if (interesting.size() == MOST_INTERESTING)
        interesting.erase(interesting.begin());
    interesting.push_back(circumstances);
}

void Explorer::Add(FoundFailure failure) {
    ++found;
    ++sum.failures;
    sum.isShrinking = true;
    report(sum);
    int left = MOST_SHRINKING;
    Confirm(failure, left);
    if (failure.isRepeatable) {
        Shrink(failure, left);
        ShrinkTimes(failure, left);
    }
    failures.push_back(std::move(failure));
    sum.isShrinking = false;
}

// When the user stops meanwhile, nothing is known.
void Explorer::Confirm(FoundFailure& failure, int& left) {
    if (isStopped)
        return;
    const bool isSame = ReplaceByFirstThatFails(failure, {failure.circumstances}, left);
    failure.isRepeatable = isSame || isStopped;
}

// Leaves out each one, as long as one is not needed.
void Explorer::Shrink(FoundFailure& failure, int& left) {
    for (bool isSmaller = true; isSmaller && left > 0 && !isStopped;) {
        std::vector<Circumstances> candidates;
        for (std::size_t i = 0; i < failure.circumstances.size(); ++i) {
            candidates.push_back(failure.circumstances);
            candidates.back().erase(candidates.back().begin() + static_cast<std::ptrdiff_t>(i));
        }
        isSmaller = ReplaceByFirstThatFails(failure, candidates, left);
    }
}

void Explorer::ShrinkTimes(FoundFailure& failure, int& left) {
    for (std::size_t i = 0; i < failure.circumstances.size() && left > 0 && !isStopped; ++i) {
        const ScenarioTime after = failure.circumstances[i].after;
        std::vector<Circumstances> candidates;
        const auto propose = [&](ScenarioTime time) {
            candidates.push_back(failure.circumstances);
            candidates.back()[i].after = time;
        };
        if (after != ScenarioTime(0))
            propose(ScenarioTime(0));
        for (const ScenarioTime step : ROUND)
            if (after > step && after % step != ScenarioTime(0))
                propose(after / step * step);
        ReplaceByFirstThatFails(failure, candidates, left);
    }
}

bool Explorer::ReplaceByFirstThatFails(FoundFailure& failure, const std::vector<Circumstances>& candidates, int& left) {
    std::vector<Circumstances> tried = candidates;
    tried.resize(std::min(tried.size(), static_cast<std::size_t>(left)));
    if (tried.empty())
        return false;
    const std::vector<TrialResult> results = RunSome(tried);
    sum.extraRuns += static_cast<int>(results.size());
    left -= static_cast<int>(tried.size());
    report(sum);
    for (std::size_t i = 0; i < results.size(); ++i)
        if (results[i].failure == failure.failure) {
            failure.circumstances = tried[i];
            failure.message = results[i].message;
            return true;
        }
    return false;
}

} // namespace VelrixBoard
