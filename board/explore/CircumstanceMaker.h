// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "board/explore/Circumstance.h"
#include "board/explore/ExploreBounds.h"

namespace VelrixBoard {

// Chooses circumstances at random within bounds. The same seed and calls give the same circumstances, on every machine.
class CircumstanceMaker final {
public:
    // Throws BoardError for bounds with names that the board does not have.
    CircumstanceMaker(const ScenarioNames& names, ExploreBounds exploreBounds, std::uint64_t seed);

    // A condition that became true in a run: circumstances may happen at it from now on.
    void AddEvent(const std::string& condition);

    // For a run: one to most.
    Circumstances Make();

    // Something like these: one more, one less, or one changed.
    Circumstances Vary(const Circumstances& circumstances);

private:
    std::uint64_t Below(std::uint64_t limit) { return limit == 0 ? 0 : random() % limit; }
    std::size_t IndexBelow(std::size_t limit) { return static_cast<std::size_t>(Below(limit)); }
    ScenarioTime TimeBelow(ScenarioTime limit);
    const std::string& OneOf(const std::vector<std::string>& choices) { return choices[IndexBelow(choices.size())]; }
    std::string Kind();
    void Add(Circumstances& circumstances);
    void AddAction(Circumstances& circumstances, const std::string& kind, const Circumstance& when);
    void AddLevel(Circumstances& circumstances, const Circumstance& when, bool isGlitch);
    void AddFault(Circumstances& circumstances, const Circumstance& when);
    Circumstance Trigger();

    const ExploreBounds bounds;
    std::vector<std::string> inputs;  // that change
    std::vector<std::string> signals; // whose value files fail
    std::set<std::string> noSpaceOn;  // those of them that the program writes to
    std::vector<std::string> events;
    std::mt19937_64 random;
};

} // namespace VelrixBoard
