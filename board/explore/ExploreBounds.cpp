// SPDX-License-Identifier: Apache-2.0
#include "board/explore/ExploreBounds.h"

#include <algorithm>
#include <fstream>
#include <optional>

#include <nlohmann/json.hpp>

#include "board/base/BoardError.h"
#include "board/explore/Circumstance.h"
#include "board/model/Fault.h"

namespace VelrixBoard {

namespace {

using Json = nlohmann::ordered_json;

struct TimeRow {
    const char* name;
    ScenarioTime ExploreBounds::*time;
};

constexpr TimeRow TIMES[] = {{"latest", &ExploreBounds::latest},
                             {"longest-after-event", &ExploreBounds::longestAfter},
                             {"longest-fault", &ExploreBounds::longestFault},
                             {"latest-ready", &ExploreBounds::latestReady},
                             {"longest-glitch", &ExploreBounds::longestGlitch},
                             {"longest-clock-jump", &ExploreBounds::longestClockJump}};

constexpr std::size_t MOST_CIRCUMSTANCES = 16;
constexpr unsigned LARGEST_WEIGHT = 1000;

[[noreturn]] void Refuse(const std::string& path, const std::string& what) {
    throw BoardError(path + ": " + what + "; velrix-board explore --print-bounds shows all bounds");
}

ScenarioTime TimeOf(const std::string& path, const std::string& name, const Json& value) {
    const auto time = value.is_string() ? ParseTime(value.get<std::string>()) : std::nullopt;
    if (!time)
        Refuse(path, "\"" + name + "\" takes a time such as \"500ms\"");
    return *time;
}

std::vector<std::string> WordsOf(const std::string& path, const std::string& name, const Json& value) {
    std::vector<std::string> words;
    if (!value.is_array())
        Refuse(path, "\"" + name + "\" takes a list of texts");
    for (const Json& each : value) {
        if (!each.is_string())
            Refuse(path, "\"" + name + "\" takes a list of texts");
        words.push_back(each.get<std::string>());
    }
    return words;
}

void ReadWeights(const std::string& path, const Json& value, ExploreBounds& bounds) {
    if (!value.is_object())
        Refuse(path, "\"weights\" takes an object");
    for (const auto& [kind, weight] : value.items()) {
        if (!bounds.weights.contains(kind))
            Refuse(path, "there is no kind of circumstance \"" + kind + "\"");
        if (!weight.is_number_unsigned() || weight.get<unsigned>() > LARGEST_WEIGHT)
            Refuse(path, "the weight of \"" + kind + "\" is a number from 0 to " + std::to_string(LARGEST_WEIGHT));
        bounds.weights[kind] = weight.get<unsigned>();
    }
    const auto isNone = [](const auto& row) { return row.second == 0; };
    if (std::all_of(bounds.weights.begin(), bounds.weights.end(), isNone))
        Refuse(path, "all weights are 0");
}

void ReadFaults(const std::string& path, const Json& value, ExploreBounds& bounds) {
    bounds.faults = WordsOf(path, "faults", value);
    for (const std::string& fault : bounds.faults)
        try {
            (void)ParseFault(fault);
        } catch (const FaultError& error) {
            Refuse(path, error.what());
        }
}

void ReadSignals(const std::string& path, const Json& value, ExploreBounds& bounds) {
    bounds.signals = WordsOf(path, "signals", value);
    for (const std::string& signal : bounds.signals)
        if (!SignalNumber(signal))
            Refuse(path, "there is no signal \"" + signal + "\"");
}

void ReadCount(const std::string& path, const Json& value, ExploreBounds& bounds) {
    if (!value.is_number_unsigned() || value.get<std::size_t>() == 0 || value.get<std::size_t>() > MOST_CIRCUMSTANCES)
        Refuse(path, "\"circumstances\" takes a number from 1 to " + std::to_string(MOST_CIRCUMSTANCES));
    bounds.most = value.get<std::size_t>();
}

} // namespace

ExploreBounds ReadBounds(const std::string& path) {
    std::ifstream stream(path);
    if (!stream)
        ThrowSystemError("cannot read " + path);
    ExploreBounds bounds;
    Json json;
    try {
        json = Json::parse(stream);
    } catch (const nlohmann::json::exception& error) {
        const std::string what = error.what(); // begins with the library's name of the error
        Refuse(path, what.substr(what.find("] ") + 2));
    }
    if (!json.is_object())
        Refuse(path, "takes an object");
    for (const auto& [name, value] : json.items()) {
        bool isTime = false;
        for (const TimeRow& row : TIMES)
            if (name == row.name) {
                bounds.*row.time = TimeOf(path, name, value);
                isTime = true;
            }
        if (isTime)
            continue;
        if (name == "circumstances")
            ReadCount(path, value, bounds);
        else if (name == "faults")
            ReadFaults(path, value, bounds);
        else if (name == "signals")
            ReadSignals(path, value, bounds);
        else if (name == "broken")
            bounds.broken = WordsOf(path, name, value);
        else if (name == "inputs")
            bounds.inputs = WordsOf(path, name, value);
        else if (name == "weights")
            ReadWeights(path, value, bounds);
        else
            Refuse(path, "there is no bound \"" + name + "\"");
    }
    return bounds;
}

std::string ToJson(const ExploreBounds& bounds) {
    Json json = {{"circumstances", bounds.most}};
    for (const TimeRow& row : TIMES)
        json[row.name] = ExactTime(bounds.*row.time);
    json["faults"] = bounds.faults;
    json["signals"] = bounds.signals;
    json["broken"] = bounds.broken;
    json["inputs"] = bounds.inputs;
    json["weights"] = bounds.weights;
    return json.dump(2) + "\n";
}

} // namespace VelrixBoard
