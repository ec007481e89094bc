// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <System/String.h>

#include <velrix/settings/SettingsFile.h>

namespace VelrixTools {

// What a value stands for.
enum class KeyKind { DIRECTORY, LOG_FILE, INPUT, OUTPUT, LED, LENGTH, OFFSET, DEVICE };

// A key of the settings file, for people. The library's handler tables decide which keys there are; a test compares.
struct SettingsKey {
    const char* section; // "" for the keys before the first header
    const char* name;
    KeyKind kind;
    const char* label;   // of the line or the LED on the board; otherwise ""
    const char* element; // the LED's colour; otherwise ""
    const char* meaning;
    System::string_ptr (*value)(const Velrix::Settings::SettingsFile& settings); // as in a file; null for no path

    bool IsNumber() const { return kind == KeyKind::LENGTH || kind == KeyKind::OFFSET; }
};

// All keys, in the order of docs/settings.md.
const std::vector<SettingsKey>& SettingsKeys();

// Null where there is none.
const SettingsKey* FindKey(std::string_view section, std::string_view name);

// "[led]", or "the keys before the first header".
std::string NameOfSection(std::string_view section);

// What a value of the kind looks like: "a hexadecimal number such as 2000".
const char* FormOf(KeyKind kind);

// The settings of a device without a settings file. Reads none.
std::shared_ptr<Velrix::Settings::SettingsFile> DefaultSettings();

} // namespace VelrixTools
