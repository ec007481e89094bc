// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>
#include <vector>

#include <velrix/gpio/ILed.h>

namespace VelrixTools {

// What an LED can be asked for by name.
struct LedPattern {
    const char* name;
    bool isSteady;
    void (*show)(Velrix::Gpio::ILed& led, long long ms); // ms: of each colour; steady ones ignore it
};

// A status, by the words of Platform's operations.
struct Indication {
    const char* name;
    const char* led;
    const char* pattern;
};

const std::vector<LedPattern>& LedPatterns();
const std::vector<Indication>& Indications();

// A name of the tables; anything else is a mistake of the caller: std::out_of_range.
const LedPattern& FindPattern(std::string_view name);
const Indication& FindIndication(std::string_view name);

// The time of each colour when nothing else is said.
inline constexpr long long PATTERN_MS = 500;

} // namespace VelrixTools
