// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

namespace VelrixTools {

// What a person said of an element: nothing where nobody was asked.
enum class LampVerdict { NOT_ASKED, GOOD, WRONG };

struct LampResult {
    std::string led;
    std::string element;
    LampVerdict verdict;

    std::string Name() const { return led + " " + element; }
};

bool HasWrong(const std::vector<LampResult>& results);

// As a JSON array, and as a JUnit report: a case per element, skipped where nobody was asked.
std::string LampJson(const std::vector<LampResult>& results);
std::string LampJUnit(const std::vector<LampResult>& results);

} // namespace VelrixTools
