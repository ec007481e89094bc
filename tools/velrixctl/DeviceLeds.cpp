// SPDX-License-Identifier: Apache-2.0
#include "tools/velrixctl/DeviceLeds.h"

#include <map>

#include <velrix/gpio/Led.h>
#include <velrix/gpio/Sysfs_OutputPin.h>

#include "tools/velrixctl/DeviceSettings.h"

namespace VelrixTools {

std::shared_ptr<Velrix::Gpio::ILed> OpenLed(const std::string& label, const Velrix::Settings::SettingsFile& settings) {
    std::map<std::string, std::shared_ptr<Velrix::Gpio::IOutputPin>> pins;
    for (const SettingsKey* key : LedElements())
        if (key->label == label)
            pins[key->element] =
                Velrix::Gpio::Sysfs_OutputPin::Create(label + "." + key->element, key->value(settings));
    return Velrix::Gpio::Led::Create(label, pins["green"], pins["red"], pins["yellow"]);
}

std::vector<std::string> LabelsOfLeds() {
    // Those of the status first, as the library orders them.
    return {"MS", "NS", "LINK_ACT1", "LINK_ACT2"};
}

std::vector<std::string> ColoursOf(const std::string& label) {
    std::vector<std::string> colours;
    for (const SettingsKey* key : LedElements())
        if (key->label == label)
            colours.emplace_back(key->element);
    return colours;
}

} // namespace VelrixTools
