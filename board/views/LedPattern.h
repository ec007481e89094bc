// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <deque>
#include <optional>
#include <string>
#include <vector>

#include "board/base/Clock.h"

namespace VelrixBoard {

// Turns the colours of one LED into text, and a pattern that repeats into a single one: "green", "off", "green", "off",
// "flashing green, 500 ms", and nothing more until the pattern changes. Two equal periods make a pattern.
class LedPattern final {
public:
    // Longest pattern: a double blink has four colours.
    static constexpr std::size_t MOST_COLORS = 8;

    // The LED has this colour since then. Empty text: the pattern goes on.
    std::string Take(const std::string& color, BoardTime since);

    // When the pattern's next colour is overdue; nothing without a pattern.
    std::optional<BoardTime> Due() const;

    // The text for a pattern that stopped: "green since 5.500 s". Call it at Due.
    std::string Stop();

private:
    struct Step {
        std::string color;
        BoardTime length;
    };

    bool GoesOn(const std::string& color, BoardTime since) const;
    bool Repeats(std::size_t period) const;
    std::string Text() const;

    std::deque<Step> history; // the last whole steps, at most two of the longest periods
    std::vector<Step> steps;  // of the pattern; empty: none
    std::size_t step = 0;     // the current one
    std::string current;      // colour
    std::optional<BoardTime> begin;
};

} // namespace VelrixBoard
