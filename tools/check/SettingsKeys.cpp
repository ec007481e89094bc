// SPDX-License-Identifier: Apache-2.0
#include "tools/check/SettingsKeys.h"

#include <algorithm>

#include <System/Convert.h>

namespace Velrix::Settings {

struct SettingsDefaults {
    static std::shared_ptr<SettingsFile> Create() { return std::shared_ptr<SettingsFile>(new SettingsFile); }
};

} // namespace Velrix::Settings

namespace VelrixTools {

namespace {

using System::string_ptr;
using Velrix::Settings::DpramSection;
using Velrix::Settings::LedSection;
using Velrix::Settings::OxboPinSection;
using Velrix::Settings::QorPinSection;
using Velrix::Settings::SettingsFile;

string_ptr Show(const string_ptr& text) {
    return text;
}

// Of 32 bits, as the file gives them.
string_ptr Show(int number) {
    return System::Convert::ToString(static_cast<unsigned>(number), 16);
}

template <auto FIELD>
string_ptr Own(const SettingsFile& settings) {
    return settings.*FIELD;
}

template <auto SECTION, auto FIELD>
string_ptr In(const SettingsFile& settings) {
    return Show((*(settings.*SECTION)).*FIELD);
}

template <auto FIELD>
constexpr auto OXBO = &In<&SettingsFile::oxbo_pin, FIELD>;
template <auto FIELD>
constexpr auto QOR = &In<&SettingsFile::qor_pin, FIELD>;
template <auto FIELD>
constexpr auto LEDS = &In<&SettingsFile::led, FIELD>;
template <auto FIELD>
constexpr auto OXBO_WINDOW = &In<&SettingsFile::oxbo_dpram, FIELD>;
template <auto FIELD>
constexpr auto QOR_WINDOW = &In<&SettingsFile::qor_dpram, FIELD>;

using enum KeyKind;

} // namespace

// clang-format off
const std::vector<SettingsKey>& SettingsKeys() {
    static const std::vector<SettingsKey> keys = {
        {"", "log_dir",             DIRECTORY, "", "", "directory of logs", Own<&SettingsFile::log_dir>},
        {"", "system_config_dir",   DIRECTORY, "", "", "directory of the device's identity files", Own<&SettingsFile::system_config_dir>},
        {"", "temp_dir",            DIRECTORY, "", "", "directory of temporary files", Own<&SettingsFile::temp_dir>},
        {"", "user_config_dir",     DIRECTORY, "", "", "directory of the user's configuration", Own<&SettingsFile::user_config_dir>},
        {"", "persistent_data_dir", DIRECTORY, "", "", "directory of data that survives an update", Own<&SettingsFile::persistent_data_dir>},
        {"", "module_firmware_dir", DIRECTORY, "", "", "directory of the modules' firmware", Own<&SettingsFile::module_firmware_dir>},
        {"", "web_log_file",        LOG_FILE,  "", "", "file of the web log", Own<&SettingsFile::web_log_file>},

        {"oxbo_pin", "irq_n",            INPUT,  "OXBO_IRQ_N",        "", "interrupt of the Oxbo module, active low", OXBO<&OxboPinSection::irq_n>},
        {"oxbo_pin", "mod_1",            INPUT,  "OXBO_MOD_1",        "", "module line 1 of the Oxbo module", OXBO<&OxboPinSection::mod_1>},
        {"oxbo_pin", "mod_id_0_sync",    INPUT,  "OXBO_MOD_ID0_SYNC", "", "module line \"id 0 / sync\" of the Oxbo module", OXBO<&OxboPinSection::mod_id_0_sync>},
        {"oxbo_pin", "ramloader_enable", OUTPUT, "OXBO_RL",           "", "starts the ram loader of the Oxbo module", OXBO<&OxboPinSection::ramloader_enable>},
        {"oxbo_pin", "reset_n",          OUTPUT, "OXBO_RESET1_N",     "", "reset of the Oxbo module, active low", OXBO<&OxboPinSection::reset_n>},

        {"oxbo_dpram", "length", LENGTH, "", "", "size of the Oxbo module's memory window in bytes, hexadecimal", OXBO_WINDOW<&DpramSection::length>},
        {"oxbo_dpram", "offset", OFFSET, "", "", "physical address of the Oxbo module's memory window, hexadecimal", OXBO_WINDOW<&DpramSection::offset>},
        {"oxbo_dpram", "path",   DEVICE, "", "", "device file to map the Oxbo module's memory window from", OXBO_WINDOW<&DpramSection::path>},

        {"qor_pin", "bootloader_enable_n", OUTPUT, "QOR_BL_N",         "", "starts the boot loader of the Qor module, active low", QOR<&QorPinSection::bootloader_enable_n>},
        {"qor_pin", "busy_n",              INPUT,  "QOR_DPRAM_BUSY_N", "", "memory window of the Qor module busy, active low", QOR<&QorPinSection::busy_n>},
        {"qor_pin", "irq_n",               INPUT,  "QOR_DPRAM_IRQ_N",  "", "interrupt of the Qor module, active low", QOR<&QorPinSection::irq_n>},
        {"qor_pin", "reset_n",             OUTPUT, "QOR_RESET0_N",     "", "reset of the Qor module, active low", QOR<&QorPinSection::reset_n>},

        {"qor_dpram", "length", LENGTH, "", "", "size of the Qor module's memory window in bytes, hexadecimal", QOR_WINDOW<&DpramSection::length>},
        {"qor_dpram", "offset", OFFSET, "", "", "physical address of the Qor module's memory window, hexadecimal", QOR_WINDOW<&DpramSection::offset>},
        {"qor_dpram", "path",   DEVICE, "", "", "device file to map the Qor module's memory window from", QOR_WINDOW<&DpramSection::path>},

        {"led", "link_act_1_green",     LED, "LINK_ACT1", "green",  "link activity 1, green", LEDS<&LedSection::link_act_1_green>},
        {"led", "link_act_1_yellow",    LED, "LINK_ACT1", "yellow", "link activity 1, yellow", LEDS<&LedSection::link_act_1_yellow>},
        {"led", "link_act_2_green",     LED, "LINK_ACT2", "green",  "link activity 2, green", LEDS<&LedSection::link_act_2_green>},
        {"led", "link_act_2_yellow",    LED, "LINK_ACT2", "yellow", "link activity 2, yellow", LEDS<&LedSection::link_act_2_yellow>},
        {"led", "module_status_green",  LED, "MS",        "green",  "module status, green", LEDS<&LedSection::module_status_green>},
        {"led", "module_status_red",    LED, "MS",        "red",    "module status, red", LEDS<&LedSection::module_status_red>},
        {"led", "network_status_green", LED, "NS",        "green",  "network status, green", LEDS<&LedSection::network_status_green>},
        {"led", "network_status_red",   LED, "NS",        "red",    "network status, red", LEDS<&LedSection::network_status_red>},
    };
    return keys;
}
// clang-format on

const SettingsKey* FindKey(std::string_view section, std::string_view name) {
    const std::vector<SettingsKey>& keys = SettingsKeys();
    const auto found = std::find_if(keys.begin(), keys.end(),
                                    [&](const auto& key) { return key.section == section && key.name == name; });
    return found == keys.end() ? nullptr : &*found;
}

std::string NameOfSection(std::string_view section) {
    return section.empty() ? "the keys before the first header" : "[" + std::string(section) + "]";
}

const char* FormOf(KeyKind kind) {
    switch (kind) {
    case DIRECTORY:
        return "the path of a directory";
    case LOG_FILE:
        return "the path of a file";
    case INPUT:
    case OUTPUT:
        return "the path of a line's value file";
    case LED:
        return "the path of an LED's brightness file";
    case LENGTH:
        return "a hexadecimal number such as 2000";
    case OFFSET:
        return "a hexadecimal number such as 44000000";
    case DEVICE:
        return "the path of a device file";
    }
    return "";
}

std::shared_ptr<SettingsFile> DefaultSettings() {
    return Velrix::Settings::SettingsDefaults::Create();
}

} // namespace VelrixTools
