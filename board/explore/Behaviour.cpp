// SPDX-License-Identifier: Apache-2.0
#include "board/explore/Behaviour.h"

#include <algorithm>
#include <cctype>

namespace VelrixBoard {

namespace {

// Of one run: an LED that flashes for hours shows nothing new.
constexpr std::size_t MOST_CHANGES = 4096;
constexpr std::size_t MOST_LOG_LINES = 4096;

struct Seen {
    TimelineTime time;
    std::string name;
    bool level;
};

std::vector<Seen> ChangesOf(const Timeline& timeline) {
    std::vector<Seen> changes;
    for (const Signal& signal : timeline.signals)
        for (const auto& change : signal.changes)
            changes.push_back({change.time, signal.name, change.level});
    std::stable_sort(changes.begin(), changes.end(), [](const Seen& a, const Seen& b) { return a.time < b.time; });
    changes.resize(std::min(changes.size(), MOST_CHANGES));
    return changes;
}

} // namespace

std::string WithoutNumbers(std::string_view text) {
    std::string without;
    for (const char c : text) {
        const bool isDigit = std::isxdigit(static_cast<unsigned char>(c)) != 0 &&
                             (std::isdigit(static_cast<unsigned char>(c)) != 0 || without.ends_with('#'));
        if (isDigit && !without.ends_with('#'))
            without += '#';
        else if (!isDigit)
            without += c;
    }
    return without;
}

std::set<std::string> FeaturesOf(const Timeline& timeline, const std::vector<std::string>& logs) {
    std::set<std::string> features;
    std::string before = "start";
    for (const Seen& change : ChangesOf(timeline)) {
        const std::string now = change.name + (change.level ? " high" : " low");
        features.insert(before + ", " + now);
        before = now;
    }
    features.insert(before + ", end");
    for (std::size_t i = 0; i < std::min(logs.size(), MOST_LOG_LINES); ++i)
        features.insert("log " + WithoutNumbers(logs[i]));
    return features;
}

std::vector<std::string> EventsOf(const Timeline& timeline, const ScenarioNames& names) {
    std::vector<std::string> events;
    const auto add = [&events](const std::string& event) {
        if (std::find(events.begin(), events.end(), event) == events.end())
            events.push_back(event);
    };
    for (const Seen& change : ChangesOf(timeline)) {
        for (const auto& lines : {names.inputs, names.outputs})
            if (std::find(lines.begin(), lines.end(), change.name) != lines.end())
                add(change.name + (change.level ? " is high" : " is low"));
        for (const auto& led : names.leds)
            for (const std::string& color : led.colors)
                if (change.level && change.name == SignalName(led.name + "." + color))
                    add(led.name + " is " + color);
    }
    return events;
}

} // namespace VelrixBoard
