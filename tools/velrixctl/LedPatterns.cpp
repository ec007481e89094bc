// SPDX-License-Identifier: Apache-2.0
#include "tools/velrixctl/LedPatterns.h"

#include <stdexcept>
#include <string>

namespace VelrixTools {

namespace {

using Velrix::Gpio::ILed;

template <auto OPERATION>
void Steady(ILed& led, long long) {
    (led.*OPERATION)();
}

template <auto OPERATION>
void Moving(ILed& led, long long ms) {
    (led.*OPERATION)(ms);
}

template <class Row>
const Row& FindRow(const std::vector<Row>& rows, std::string_view name) {
    for (const Row& row : rows)
        if (row.name == name)
            return row;
    throw std::out_of_range("no row " + std::string(name));
}

} // namespace

const std::vector<LedPattern>& LedPatterns() {
    static const std::vector<LedPattern> patterns = {
        {"off", true, &Steady<&ILed::Off>},
        {"green", true, &Steady<&ILed::Green>},
        {"red", true, &Steady<&ILed::Red>},
        {"yellow", true, &Steady<&ILed::Yellow>},
        {"flashing-green", false, &Moving<&ILed::FlashingGreen>},
        {"flashing-red", false, &Moving<&ILed::FlashingRed>},
        {"flashing-yellow", false, &Moving<&ILed::FlashingYellow>},
        {"green-red", false, &Moving<&ILed::ToggleGreenRed>},
        {"green-yellow", false, &Moving<&ILed::ToggleGreenYellow>},
        {"yellow-red", false, &Moving<&ILed::ToggleYellowRed>},
    };
    return patterns;
}

const std::vector<Indication>& Indications() {
    static const std::vector<Indication> indications = {
        {"ms-power-off", "MS", "off"},
        {"ms-missing-configuration", "MS", "green-red"},
        {"ms-idle", "MS", "flashing-green"},
        {"ms-running", "MS", "green"},
        {"ms-invalid-configuration", "MS", "flashing-red"},
        {"ms-fatal-error", "MS", "red"},
        {"ns-power-off", "NS", "off"},
        {"ns-connection-established", "NS", "green"},
        {"ns-no-connection", "NS", "flashing-green"},
        {"ns-fatal-error", "NS", "red"},
        {"ns-timeout", "NS", "flashing-red"},
    };
    return indications;
}

const LedPattern& FindPattern(std::string_view name) {
    return FindRow(LedPatterns(), name);
}

const Indication& FindIndication(std::string_view name) {
    return FindRow(Indications(), name);
}

} // namespace VelrixTools
