// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "board/base/Clock.h"
#include "board/views/LedPattern.h"

namespace VelrixBoard {

// The board as one line per event, in the order of the events: "0.512 s  MS green".
//
// An LED's elements are written one after the other. Their changes within SHORTEST_COLOR are one change of its colour,
// unless an element changes twice: then the LED pulsed, and every colour is a line. Lines after a change of an LED wait
// until its colour is known.
class ChangeLines final {
public:
    static constexpr BoardTime SHORTEST_COLOR = std::chrono::milliseconds(5);

    // Above that, lines are not held back for an LED.
    static constexpr std::size_t MOST_HELD = 4096;

    explicit ChangeLines(const std::vector<std::string>& ledNames);

    void Add(std::string_view text, BoardTime time);

    // An element of an LED, by its index, changed; the LED has this colour now.
    void AddColor(std::size_t led, std::size_t element, const std::string& color, BoardTime time);

    // Completes colours that lasted so long, and patterns that stopped.
    void Settle(BoardTime now, BoardTime shortest = SHORTEST_COLOR);
    std::optional<BoardTime> Due() const;

    // Removes the next line that can be written and returns it with its line feed; empty: none.
    std::string Next();

private:
    // The current change of an LED's colour.
    struct Change {
        std::vector<std::size_t> elements;
        std::string color;
        BoardTime time;
        std::uint64_t place;
    };

    struct Led {
        std::string name;
        LedPattern pattern{};
        std::optional<Change> change{};
    };

    void Complete(Led& led);
    void Put(std::uint64_t place, BoardTime time, std::string_view text);

    std::vector<Led> leds;
    std::map<std::uint64_t, std::string> lines; // by the place of their events in the run
    std::uint64_t places = 0;
};

} // namespace VelrixBoard
