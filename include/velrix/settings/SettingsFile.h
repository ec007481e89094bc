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
// Read once per process, at the first use of INSTANCE, and neither re-read nor written back. A file that is missing or
// cannot be read is traced as a warning and leaves the defaults. Any other error in it (syntax, an unknown name, a bad
// number) passes out of INSTANCE.Value(), and the next use tries again. INSTANCE: any thread. The object: concurrent
// reads; only parsing changes it.
//
//     string_ptr folder = SettingsFile::INSTANCE.Value()->log_dir;
class VELRIX_EXPORT SettingsFile final : public System::Object {
public:
    using Section = System::Collections::Generic::IDictionary<System::string_ptr, System::string_ptr>;

    static System::Lazy<std::shared_ptr<SettingsFile>> INSTANCE;

    // Every section of the file, with its handler; "" holds the keys before the first header.
    static System::Lazy<std::shared_ptr<HandlerTable<SettingsFile, std::shared_ptr<Section>>>> SECTION_HANDLERS;

    // Every key allowed before the first header, with the handler that sets the field of that name.
    static System::Lazy<std::shared_ptr<HandlerTable<SettingsFile>>> KEY_HANDLERS;

    // Reads the file now. Most users want INSTANCE.
    static std::shared_ptr<SettingsFile> Create();

    // Apply one section of the file to the settings: the default section key by key, any other by replacing the section
    // object. An unknown key: KeyNotFoundException with the key as its message. A null argument: ArgumentNullException
    // with its name. Replacing a section object is all or nothing.
    static void HandleDefaultSection(std::shared_ptr<SettingsFile> settings, std::shared_ptr<Section> section);
    static void HandleOxboPinSection(std::shared_ptr<SettingsFile> settings, std::shared_ptr<Section> section);
    static void HandleOxboDpramSection(std::shared_ptr<SettingsFile> settings, std::shared_ptr<Section> section);
    static void HandleQorPinSection(std::shared_ptr<SettingsFile> settings, std::shared_ptr<Section> section);
    static void HandleQorDpramSection(std::shared_ptr<SettingsFile> settings, std::shared_ptr<Section> section);
    static void HandleLedSection(std::shared_ptr<SettingsFile> settings, std::shared_ptr<Section> section);

    ~SettingsFile() override;

    // Sections; one that is in the file replaces the object.
    std::shared_ptr<DpramSection> oxbo_dpram;
    std::shared_ptr<OxboPinSection> oxbo_pin;
    std::shared_ptr<DpramSection> qor_dpram;
    std::shared_ptr<QorPinSection> qor_pin;
    std::shared_ptr<LedSection> led;

    // Paths, unchecked.
    System::string_ptr log_dir;
    System::string_ptr system_config_dir;
    System::string_ptr temp_dir;
    System::string_ptr user_config_dir;
    System::string_ptr persistent_data_dir;
    System::string_ptr module_firmware_dir;
    System::string_ptr web_log_file;

private:
    // Makes the settings of a device without a file, for tools that explain them; the library does not define it.
    friend struct SettingsDefaults;

    SettingsFile();
};

} // namespace Velrix::Settings
