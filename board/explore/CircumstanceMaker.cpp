// SPDX-License-Identifier: Apache-2.0
#include "board/explore/CircumstanceMaker.h"

#include <algorithm>
#include <utility>

#include "board/base/BoardError.h"
#include "board/scenario/ScenarioLine.h"

namespace VelrixBoard {

namespace {

constexpr ScenarioTime MS = std::chrono::milliseconds(1);

// Programs have many events; those that came first are as good as later ones.
constexpr std::size_t MOST_EVENTS = 200;

// Those that the bounds name, or all.
std::vector<std::string> Chosen(const std::vector<std::string>& named, const std::vector<std::string>& all,
                                const char* kind) {
    for (const std::string& name : named)
        if (std::find(all.begin(), all.end(), name) == all.end())
            throw BoardError("the bounds name " + name + ", but the board has no such " + kind + "; it has " +
                             JoinAlternatives(all));
    return named.empty() ? all : named;
}

} // namespace

CircumstanceMaker::CircumstanceMaker(const ScenarioNames& names, ExploreBounds exploreBounds, std::uint64_t seed)
    : bounds(std::move(exploreBounds)), random(seed) {
    std::vector<std::string> all;
    for (const auto& led : names.leds)
        for (const std::string& color : led.colors)
            all.push_back(led.name + "." + color);
    all.insert(all.end(), names.outputs.begin(), names.outputs.end());
    noSpaceOn = {all.begin(), all.end()};
    all.insert(all.end(), names.inputs.begin(), names.inputs.end());
    signals = Chosen(bounds.broken, all, "line or LED element");
    inputs = Chosen(bounds.inputs, names.inputs, "input");
}

void CircumstanceMaker::AddEvent(const std::string& condition) {
    if (events.size() < MOST_EVENTS && std::find(events.begin(), events.end(), condition) == events.end())
        events.push_back(condition);
}

Circumstances CircumstanceMaker::Make() {
    Circumstances made;
    const std::uint64_t count = 1 + Below(bounds.most);
    for (std::uint64_t i = 0; i < count && made.size() < bounds.most; ++i)
        Add(made);
    return made;
}

Circumstances CircumstanceMaker::Vary(const Circumstances& circumstances) {
    Circumstances varied = circumstances;
    const std::uint64_t how = Below(4);
    if (how == 0 && varied.size() > 1) {
        varied.erase(varied.begin() + static_cast<std::ptrdiff_t>(Below(varied.size())));
    } else if (how == 1 && varied.size() < bounds.most) {
        Add(varied);
    } else if (how == 2 && !varied.empty()) {
        const Circumstance when = Trigger();
        Circumstance& changed = varied[IndexBelow(varied.size())];
        changed.trigger = when.trigger;
        changed.after = when.after;
    } else if (!varied.empty()) {
        Circumstance& changed = varied[IndexBelow(varied.size())];
        changed.after = changed.after / 2 + TimeBelow(changed.after + 10 * MS);
    }
    return varied.empty() ? Make() : varied;
}

// Often a round length, sometimes a very short one: what programs do lies close together.
ScenarioTime CircumstanceMaker::TimeBelow(ScenarioTime limit) {
    ScenarioTime longest = limit;
    for (std::uint64_t halvings = Below(12); halvings > 0 && longest > MS; --halvings)
        longest /= 2;
    const ScenarioTime time(Below(static_cast<std::uint64_t>(longest.count()) + 1));
    return time < 10 * MS ? time : time / MS * MS;
}

std::string CircumstanceMaker::Kind() {
    std::uint64_t sum = 0;
    for (const auto& [kind, weight] : bounds.weights)
        sum += weight;
    std::uint64_t chosen = Below(sum);
    for (const auto& [kind, weight] : bounds.weights) {
        if (chosen < weight)
            return kind;
        chosen -= weight;
    }
    return "module";
}

Circumstance CircumstanceMaker::Trigger() {
    if (events.empty() || Below(2) == 0)
        return {PROGRAM_STARTS, TimeBelow(bounds.latest), ""};
    return {OneOf(events), Below(2) == 0 ? ScenarioTime(0) : TimeBelow(bounds.longestAfter), ""};
}

void CircumstanceMaker::Add(Circumstances& circumstances) {
    AddAction(circumstances, Kind(), Trigger());
}

void CircumstanceMaker::AddAction(Circumstances& circumstances, const std::string& kind, const Circumstance& when) {
    const auto add = [&](std::string action) {
        circumstances.push_back({when.trigger, when.after, std::move(action)});
    };
    const auto addAtStart = [&](std::string action) {
        circumstances.push_back({PROGRAM_STARTS, ScenarioTime(0), std::move(action)});
    };
    if (kind == "level" || kind == "glitch")
        AddLevel(circumstances, when, kind == "glitch");
    else if (kind == "fault" && !bounds.faults.empty())
        AddFault(circumstances, when);
    else if (kind == "missing")
        addAtStart("fault " + OneOf(signals) + " missing");
    else if (kind == "disk")
        addAtStart("fault web log ENOSPC");
    else if (kind == "clock")
        add(std::string("set clock ") + (Below(2) == 0 ? "back " : "forward ") +
            ExactTime(std::max(TimeBelow(bounds.longestClockJump), MS)));
    else if (kind == "signal" && !bounds.signals.empty())
        add("send " + OneOf(bounds.signals));
    else if (Below(8) == 0)
        addAtStart("module ready never");
    else
        addAtStart("module ready after " + ExactTime(TimeBelow(bounds.latestReady) / MS * MS));
}

// A glitch is two circumstances, so that either can be left out.
void CircumstanceMaker::AddLevel(Circumstances& circumstances, const Circumstance& when, bool isGlitch) {
    const std::string action = "set " + OneOf(inputs);
    const bool high = Below(2) == 0;
    circumstances.push_back({when.trigger, when.after, action + (high ? " high" : " low")});
    if (isGlitch && circumstances.size() < bounds.most)
        circumstances.push_back(
            {when.trigger, when.after + TimeBelow(bounds.longestGlitch), action + (high ? " low" : " high")});
}

void CircumstanceMaker::AddFault(Circumstances& circumstances, const Circumstance& when) {
    const std::string& signal = OneOf(signals);
    const std::string& fault = OneOf(bounds.faults);
    const bool isPossible = fault != "ENOSPC" || noSpaceOn.contains(signal);
    circumstances.push_back({when.trigger, when.after, "fault " + signal + " " + (isPossible ? fault : "EIO")});
    if (Below(2) == 0 && circumstances.size() < bounds.most)
        circumstances.push_back(
            {when.trigger, when.after + TimeBelow(bounds.longestFault), "fault " + signal + " none"});
}

} // namespace VelrixBoard
