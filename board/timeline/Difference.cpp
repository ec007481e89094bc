// SPDX-License-Identifier: Apache-2.0
#include "board/timeline/Difference.h"

#include <algorithm>

namespace VelrixBoard {

namespace {

// Filters glitches out of the changes.
std::vector<Change> Settled(const Signal& signal, TimelineTime glitch) {
    std::vector<Change> settled;
    for (const Change& change : signal.changes) {
        if (glitch > TimelineTime(0) && !settled.empty() && change.time - settled.back().time <= glitch)
            settled.pop_back(); // the previous level was a glitch, ended by this change
        else
            settled.push_back(change);
    }
    return settled;
}

const char* LevelName(bool level) {
    return level ? "high" : "low";
}

// "OXBO_IRQ_N low", and of LED elements "MS red" and "MS red off".
std::string Event(const Signal& signal, bool level) {
    const auto split = signal.name.rfind('_');
    const std::string color = split == std::string::npos ? "" : signal.name.substr(split + 1);
    if (color == "green" || color == "red" || color == "yellow")
        return signal.name.substr(0, split) + " " + color + (level ? "" : " off");
    return signal.name + " " + LevelName(level);
}

std::string Count(std::size_t count) {
    return std::to_string(count) + (count == 1 ? " change" : " changes");
}

} // namespace

std::vector<std::string> Difference(const Timeline& a, const Timeline& b, const DifferenceOptions& options) {
    const TimelineTime startA = options.fromFirstChange ? a.FirstChange() : TimelineTime(0);
    const TimelineTime startB = options.fromFirstChange ? b.FirstChange() : TimelineTime(0);
    std::vector<std::string> differences;

    for (const Signal& signalA : a.signals) {
        const Signal* const signalB = b.Find(signalA.name);
        if (!signalB) {
            differences.push_back(signalA.name + " is missing in the second recording");
            continue;
        }
        if (signalA.initial != signalB->initial)
            differences.push_back(signalA.name + " begins " + LevelName(signalB->initial) + " instead of " +
                                  LevelName(signalA.initial));

        const std::vector<Change> changesA = Settled(signalA, options.glitch);
        const std::vector<Change> changesB = Settled(*signalB, options.glitch);
        const std::size_t common = std::min(changesA.size(), changesB.size());
        for (std::size_t i = 0; i < common; ++i) {
            const TimelineTime timeA = changesA[i].time - startA;
            const TimelineTime timeB = changesB[i].time - startB;
            const TimelineTime apart = timeB > timeA ? timeB - timeA : timeA - timeB;
            if (apart > options.tolerance)
                differences.push_back(Event(signalA, changesA[i].level) + " " + TextOf(apart) +
                                      (timeB > timeA ? " later: " : " earlier: ") + TextOf(timeB) + " instead of " +
                                      TextOf(timeA));
        }
        if (changesA.size() > common)
            differences.push_back(signalA.name + " lacks " + Count(changesA.size() - common) + ", the first at " +
                                  TextOf(changesA[common].time - startA));
        if (changesB.size() > common)
            differences.push_back(signalA.name + " has " + Count(changesB.size() - common) + " more, the first at " +
                                  TextOf(changesB[common].time - startB));
    }
    for (const Signal& signalB : b.signals)
        if (!a.Find(signalB.name))
            differences.push_back(signalB.name + " is missing in the first recording");
    return differences;
}

} // namespace VelrixBoard
