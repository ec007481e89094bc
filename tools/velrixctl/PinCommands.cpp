// SPDX-License-Identifier: Apache-2.0
#include <array>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include <System/IO/Exceptions.h>

#include <velrix/gpio/Sysfs_InputPin.h>
#include <velrix/gpio/Sysfs_OutputPin.h>

#include "tools/velrixctl/Commands.h"
#include "tools/velrixctl/Console.h"
#include "tools/velrixctl/DeviceSettings.h"
#include "tools/velrixctl/Json.h"
#include "tools/velrixctl/StopSignal.h"

namespace VelrixTools {

namespace {

using std::chrono::milliseconds;
using Velrix::Gpio::Sysfs_InputPin;

constexpr milliseconds LOOK_EVERY(10);
constexpr std::size_t LABEL_WIDTH = 19;

// A line as the user sees it. An output can be read as well: its file gives the level that was written last.
class WatchedLine final {
public:
    WatchedLine(const SettingsKey& ownKey, const std::string& ownPath) : key(ownKey), path(ownPath) {
        try {
            pin = Sysfs_InputPin::Create(key.label, path);
        } catch (const System::IO::IOException& failure) {
            error = std::strerror(failure.ErrorCode());
        }
    }

    // Whether it shows something else now.
    bool Look() {
        const std::string before = level;
        if (pin)
            try {
                level = pin->Get() ? "high" : "low";
                error.clear();
            } catch (const System::IO::IOException& failure) {
                level = "unknown";
                error = std::strerror(failure.ErrorCode());
            }
        return level != before;
    }

    bool IsKnown() const { return error.empty(); }
    std::string Label() const { return key.label; }
    std::string Level() const { return level; }

    std::string Row() const {
        std::string label = key.label, shown = level;
        label.resize(LABEL_WIDTH, ' ');
        shown.resize(std::max<std::size_t>(shown.size(), 9), ' ');
        const Colour colour = !IsKnown() ? Colour::RED : level == "high" ? Colour::GREEN : Colour::NONE;
        return label + (key.kind == KeyKind::INPUT ? "input   " : "output  ") + In(colour, shown) + Escaped(path) +
               (IsKnown() ? "" : ": " + error);
    }

    Json AsJson() const {
        Json json = {{"label", key.label},
                     {"direction", key.kind == KeyKind::INPUT ? "input" : "output"},
                     {"level", IsKnown() ? Json(level) : Json()},
                     {"path", path}};
        if (!IsKnown())
            json["error"] = error;
        return json;
    }

private:
    const SettingsKey& key;
    const std::string path;
    std::shared_ptr<Sysfs_InputPin> pin;
    std::string level = "unknown";
    std::string error;
};

std::string Table(const std::vector<WatchedLine>& lines) {
    std::string table;
    for (const WatchedLine& line : lines)
        table += line.Row() + (IsTerminal() ? "\x1b[K\n" : "\n");
    return table;
}

std::string Change(double seconds, const WatchedLine& line, bool asJson) {
    if (asJson)
        return TextOf({{"seconds", seconds},
                       {"label", line.Label()},
                       {"level", line.IsKnown() ? Json(line.Level()) : Json()}},
                      false) +
               "\n";
    std::array<char, 32> time{};
    std::snprintf(time.data(), time.size(), "%8.3f s  ", seconds);
    return time.data() + line.Label() + " " + line.Level() + "\n";
}

// On a terminal the table is redrawn in place, elsewhere each change is a line.
void Watch(std::vector<WatchedLine>& lines, bool asJson, const Deadline& deadline) {
    const StopSignal stop;
    const bool inPlace = IsTerminal() && !asJson;
    const auto start = std::chrono::steady_clock::now();
    while (!deadline.HasPassed() && !stop.Wait(deadline.Left(LOOK_EVERY))) {
        const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        std::string changes;
        for (WatchedLine& line : lines)
            if (line.Look())
                changes += Change(seconds, line, asJson);
        if (!changes.empty())
            Print(inPlace ? "\x1b[" + std::to_string(lines.size()) + "A" + Table(lines) : changes);
    }
}

} // namespace

int RunPins(const CommandLine& line) {
    const Deadline deadline(line.Value("--for"));
    if (line.Has("--for") && !line.Has("--watch"))
        throw CommandError("--for needs --watch");
    const auto settings = LoadSettings();
    std::vector<WatchedLine> lines;
    for (const SettingsKey* key : Lines())
        lines.emplace_back(*key, ValueOf(*key, *settings));
    bool areKnown = true;
    Json all = Json::array();
    for (WatchedLine& watched : lines) {
        watched.Look();
        areKnown = areKnown && watched.IsKnown();
        all.push_back(watched.AsJson());
    }
    const bool asJson = line.Has("--json");
    if (!asJson)
        Print(Table(lines));
    else if (line.Has("--watch"))
        Print(TextOf(all, false) + "\n"); // then a line per change
    else
        PrintJson(all);
    if (line.Has("--watch"))
        Watch(lines, asJson, deadline);
    if (!areKnown)
        Complain("some lines cannot be read; \"velrixctl doctor\" says what to do");
    return areKnown ? EXIT_GOOD : EXIT_WRONG;
}

int RunPin(const CommandLine& line) {
    const SettingsKey& key = *FindLine(line.Value("NAME"));
    const auto pin = Velrix::Gpio::Sysfs_OutputPin::Create(key.label, key.value(*LoadSettings()));
    if (line.Value("LEVEL") == "high")
        pin->SetHigh();
    else
        pin->SetLow();
    return EXIT_GOOD;
}

} // namespace VelrixTools
