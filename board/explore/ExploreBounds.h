// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <string>
#include <vector>

#include "board/scenario/Scenario.h"

namespace VelrixBoard {

// Within which a search chooses circumstances.
struct ExploreBounds {
    std::size_t most = 4;                                // circumstances of a run
    ScenarioTime latest = std::chrono::seconds(10);      // of a circumstance with a random time since the start
    ScenarioTime longestAfter = std::chrono::seconds(1); // after an event
    ScenarioTime longestFault = std::chrono::seconds(5); // until a fault that does not stay is removed
    ScenarioTime latestReady = std::chrono::seconds(5);  // of the module, after its reset
    ScenarioTime longestGlitch = std::chrono::milliseconds(50);
    ScenarioTime longestClockJump = std::chrono::hours(24); // forward or back
    std::vector<std::string> faults = {"EIO", "EACCES", "ENOSPC", "slow:20ms", "missing"};
    std::vector<std::string> signals = {}; // that the program may get
    std::vector<std::string> broken = {};  // the lines and LED elements whose value files fail; empty: all
    std::vector<std::string> inputs = {};  // that change their levels; empty: all

    // How often each kind is chosen, in relation to the others; 0: never.
    std::map<std::string, unsigned> weights = {{"module", 3},  {"level", 2}, {"glitch", 3}, {"fault", 4},
                                               {"missing", 1}, {"disk", 1},  {"clock", 1},  {"signal", 1}};
};

// Of a JSON file with any of the names that ToJson prints. Throws BoardError that names the file and what is wrong.
ExploreBounds ReadBounds(const std::string& path);

// The bounds as such a file.
std::string ToJson(const ExploreBounds& bounds);

} // namespace VelrixBoard
