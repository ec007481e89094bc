// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include <System/Collections/Generic/Dictionary.h>
#include <System/Lazy.h>
#include <System/Object.h>
#include <System/String.h>

#include <velrix/Export.h>
#include <velrix/settings/DpramSection.h>
#include <velrix/settings/HandlerTable.h>
#include <velrix/settings/LedSection.h>
#include <velrix/settings/OxboPinSection.h>
#include <velrix/settings/QorPinSection.h>

namespace Velrix::Settings {

// The settings of the device: compiled-in defaults, replaced by what /etc/velrix.conf says.
//
// Read once a process, at the first use of INSTANCE, and neither re-read nor written back. A file that is missing or
// cannot be read is traced as a warning and leaves the defaults. Any other fault in it (a syntax error, a name that
// nobody knows, a bad number) passes out of INSTANCE.Value(), and the next use tries again. Read-only once made, and
// then readable from any thread.
//
//     string_ptr folder = SettingsFile::INSTANCE.Value()->log_dir;
class VELRIX_EXPORT SettingsFile final : public System::Object {
public:
    using Section = System::Collections::Generic::IDictionary<System::string_ptr, System::string_ptr>;

    static System::Lazy<std::shared_ptr<SettingsFile>> INSTANCE;

    // Each section that the file may hold, with its handler; "" are the keys before the first header.
    static System::Lazy<std::shared_ptr<HandlerTable<SettingsFile, std::shared_ptr<Section>>>> SECTION_HANDLERS;

    // Each key that may stand before the first header, with the handler that puts its value into the field of that
    // name.
    static System::Lazy<std::shared_ptr<HandlerTable<SettingsFile>>> KEY_HANDLERS;

    // Settings of their own, read from the file now. Most users want INSTANCE.
    static std::shared_ptr<SettingsFile> Create();

    // Put one section of the file into the settings: the default section key by key, any other by a new section object
    // in place of the one that was there. An unknown key: KeyNotFoundException with the key as its message. A null
    // argument: ArgumentNullException with its name. A section object is replaced whole or not at all.
    static void HandleDefaultSection(std::shared_ptr<SettingsFile> settings, std::shared_ptr<Section> section);
    static void HandleOxboPinSection(std::shared_ptr<SettingsFile> settings, std::shared_ptr<Section> section);
    static void HandleOxboDpramSection(std::shared_ptr<SettingsFile> settings, std::shared_ptr<Section> section);
    static void HandleQorPinSection(std::shared_ptr<SettingsFile> settings, std::shared_ptr<Section> section);
    static void HandleQorDpramSection(std::shared_ptr<SettingsFile> settings, std::shared_ptr<Section> section);
    static void HandleLedSection(std::shared_ptr<SettingsFile> settings, std::shared_ptr<Section> section);

    ~SettingsFile() override;

    // Sections; each is made anew when the file has it.
    std::shared_ptr<DpramSection> oxbo_dpram;
    std::shared_ptr<OxboPinSection> oxbo_pin;
    std::shared_ptr<DpramSection> qor_dpram;
    std::shared_ptr<QorPinSection> qor_pin;
    std::shared_ptr<LedSection> led;

    // Paths, as they are written; nothing is checked.
    System::string_ptr log_dir;
    System::string_ptr system_config_dir;
    System::string_ptr temp_dir;
    System::string_ptr user_config_dir;
    System::string_ptr persistent_data_dir;
    System::string_ptr module_firmware_dir;
    System::string_ptr web_log_file;

private:
    SettingsFile();
};

} // namespace Velrix::Settings
