// SPDX-License-Identifier: Apache-2.0
#include "board/views/ChangeLines.h"

#include <algorithm>
#include <cstdio>

#include "board/scenario/Printable.h"

namespace VelrixBoard {

ChangeLines::ChangeLines(const std::vector<std::string>& ledNames) {
    for (const std::string& name : ledNames)
        leds.push_back({name});
}

void ChangeLines::Add(std::string_view text, BoardTime time) {
    if (lines.size() >= MOST_HELD)
        Settle(time, BoardTime::zero());
    Put(places++, time, text);
}

void ChangeLines::AddColor(std::size_t led, std::size_t element, const std::string& color, BoardTime time) {
    std::optional<Change>& change = leds[led].change;
    if (change && std::find(change->elements.begin(), change->elements.end(), element) != change->elements.end())
        Complete(leds[led]);
    if (!change)
        change.emplace();
    change->elements.push_back(element);
    change->color = color;
    change->time = time;
    change->place = places++;
}

void ChangeLines::Settle(BoardTime now, BoardTime shortest) {
    for (Led& led : leds) {
        if (led.change) {
            if (now - led.change->time >= shortest)
                Complete(led);
        } else if (const std::optional<BoardTime> due = led.pattern.Due(); due && now >= *due) {
            Put(places++, now, led.name + " " + led.pattern.Stop());
        }
    }
}

void ChangeLines::Complete(Led& led) {
    const Change change = *led.change;
    led.change.reset();
    if (const std::string text = led.pattern.Take(change.color, change.time); !text.empty())
        Put(change.place, change.time, led.name + " " + text);
}

std::optional<BoardTime> ChangeLines::Due() const {
    std::optional<BoardTime> due;
    for (const Led& led : leds)
        if (const auto each = led.change ? led.change->time + SHORTEST_COLOR : led.pattern.Due())
            due = std::min(due.value_or(BoardTime::max()), *each);
    return due;
}

std::string ChangeLines::Next() {
    if (lines.empty())
        return "";
    const auto line = lines.begin();
    for (const Led& led : leds)
        if (led.change && led.change->place < line->first)
            return "";
    std::string text = std::move(line->second);
    lines.erase(line);
    return text;
}

void ChangeLines::Put(std::uint64_t place, BoardTime time, std::string_view text) {
    char seconds[32];
    std::snprintf(seconds, sizeof seconds, "%8.3f s  ", std::chrono::duration<double>(time).count());
    lines.emplace(place, seconds + Printable(text) + "\n");
}

} // namespace VelrixBoard
