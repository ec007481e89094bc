// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <velrix/gpio/ILed.h>
#include <velrix/settings/SettingsFile.h>

namespace VelrixTools {

// An LED of the device with the elements that it has; a colour without an element throws NotSupportedException, unlike
// an LED of Platform. Opening it switches it off.
std::shared_ptr<Velrix::Gpio::ILed> OpenLed(const std::string& label, const Velrix::Settings::SettingsFile& settings);

// The labels of all LEDs, and the colours of one.
std::vector<std::string> LabelsOfLeds();
std::vector<std::string> ColoursOf(const std::string& label);

} // namespace VelrixTools
