// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "board/scenario/ScenarioLine.h"

namespace VelrixBoard {

// More than these hundreds of kilobytes are no scenario that somebody wrote.
inline constexpr std::size_t LARGEST_SCENARIO = std::size_t{1024} * 1024; // bytes of one file

// Rounds of all repeats included.
inline constexpr int MOST_STEPS = 100'000;

// How deep files and repeats may be nested.
inline constexpr int DEEPEST_NESTING = 16;

// A line in the order in which it is played.
struct PlayedLine {
    ScenarioLine words;
    std::string round; // "2 of 5", in nested repeats "1 of 3, 2 of 5"; empty outside of them
};

// The lines of a scenario with "include FILE" and "repeat N" up to its "end" written out, without blank lines. FILE is
// named from the directory of the file that includes it. Throws ScenarioError.
std::vector<PlayedLine> WriteOut(const std::string& path, std::string_view text);

// The content of a scenario's file. Throws std::runtime_error with the reason.
std::string ReadScenarioText(const std::string& path);

} // namespace VelrixBoard
