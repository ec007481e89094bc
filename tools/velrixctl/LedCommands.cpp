// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

#include "tools/velrixctl/Commands.h"
#include "tools/velrixctl/Console.h"
#include "tools/velrixctl/DeviceLeds.h"
#include "tools/velrixctl/DeviceSettings.h"
#include "tools/velrixctl/LedPatterns.h"
#include "tools/velrixctl/StopSignal.h"

namespace VelrixTools {

namespace {

using std::chrono::milliseconds;

constexpr milliseconds UPDATE_EVERY(5);
constexpr long long LONGEST_MS = 3'600'000;

// Before the LED is opened, which switches it off. The names of patterns are made of those of their colours.
void RequireColours(const std::string& label, const LedPattern& pattern) {
    const std::vector<std::string> has = ColoursOf(label);
    const std::string name = pattern.name;
    for (const std::string colour : {"green", "red", "yellow"})
        if (name.find(colour) != std::string::npos && std::find(has.begin(), has.end(), colour) == has.end())
            throw CommandError(label + " has only " + has.front() + " and " + has.back());
}

void Show(const std::string& label, const LedPattern& pattern, long long ms, const std::string& seconds) {
    RequireColours(label, pattern);
    const Deadline deadline(seconds);
    const StopSignal stop; // before the LED lights up: from here on it goes off at the end
    const auto led = OpenLed(label, *LoadSettings());
    if (!pattern.isSteady && seconds.empty() && IsTerminal())
        Print(label + " shows " + pattern.name + " until Ctrl-C\n");
    pattern.show(*led, ms);
    if (pattern.isSteady && seconds.empty())
        return;
    const milliseconds pause = pattern.isSteady ? milliseconds(1000) : UPDATE_EVERY;
    while (!deadline.HasPassed() && !stop.Wait(deadline.Left(pause)))
        led->Update();
    led->Off();
}

} // namespace

int RunLed(const CommandLine& line) {
    const LedPattern& pattern = FindPattern(line.Value("PATTERN"));
    if (pattern.isSteady && line.Has("--ms"))
        throw CommandError("--ms needs a pattern of several colours; " + std::string(pattern.name) + " is steady");
    Show(line.Value("NAME"), pattern, line.Number("--ms", PATTERN_MS, 1, LONGEST_MS), line.Value("--for"));
    return EXIT_GOOD;
}

int RunIndicate(const CommandLine& line) {
    const Indication& indication = FindIndication(line.Value("STATE"));
    Show(indication.led, FindPattern(indication.pattern), PATTERN_MS, line.Value("--for"));
    return EXIT_GOOD;
}

} // namespace VelrixTools
