// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <velrix/settings/SettingsFile.h>

#include "tools/check/SettingsKeys.h"

namespace VelrixTools {

// Where the library reads the settings.
inline constexpr const char* SETTINGS_FILE = "/etc/velrix.conf";

// The settings of this device, as the library reads them. Where it refuses the file, prints what is wrong on standard
// error, and CommandError.
std::shared_ptr<Velrix::Settings::SettingsFile> LoadSettings();

// The value as a file has it; empty for no path.
std::string ValueOf(const SettingsKey& key, const Velrix::Settings::SettingsFile& settings);

// The keys of the lines, or of the LEDs' elements.
std::vector<const SettingsKey*> Lines();
std::vector<const SettingsKey*> LedElements();

// Lines and LEDs by their labels; nothing where there is none.
const SettingsKey* FindLine(const std::string& label);

} // namespace VelrixTools
