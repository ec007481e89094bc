// SPDX-License-Identifier: Apache-2.0
#include <velrix/settings/SettingsFile.h>

#include <System/CallbackFunc.h>
#include <System/Diagnostics/Trace.h>
#include <System/IO/Exceptions.h>

#include <velrix/config/ConfigFile.h>

#include "settings/HandlerTable.h"

namespace Velrix::Settings {

using System::CallbackFunc;
using System::string_ptr;

namespace {

constexpr const char* FILE_PATH = "/etc/velrix.conf";

// The device file to map both memory windows from, and their size in bytes.
constexpr const char* DPRAM_PATH = "/dev/mem";
constexpr int DPRAM_LENGTH = 0x2000;
constexpr int OXBO_DPRAM_OFFSET = 0x44000000;
constexpr int QOR_DPRAM_OFFSET = 0x42000000;

constexpr HandlerRow<SettingsFile, std::shared_ptr<SettingsFile::Section>> SECTION_ROWS[] = {
    {"", &SettingsFile::HandleDefaultSection},
    {"oxbo_pin", &SettingsFile::HandleOxboPinSection},
    {"oxbo_dpram", &SettingsFile::HandleOxboDpramSection},
    {"qor_pin", &SettingsFile::HandleQorPinSection},
    {"qor_dpram", &SettingsFile::HandleQorDpramSection},
    {"led", &SettingsFile::HandleLedSection},
};

constexpr HandlerRow<SettingsFile, string_ptr> KEY_ROWS[] = {
    {"log_dir", &Assign<SettingsFile, &SettingsFile::log_dir>},
    {"system_config_dir", &Assign<SettingsFile, &SettingsFile::system_config_dir>},
    {"temp_dir", &Assign<SettingsFile, &SettingsFile::temp_dir>},
    {"user_config_dir", &Assign<SettingsFile, &SettingsFile::user_config_dir>},
    {"persistent_data_dir", &Assign<SettingsFile, &SettingsFile::persistent_data_dir>},
    {"module_firmware_dir", &Assign<SettingsFile, &SettingsFile::module_firmware_dir>},
    {"web_log_file", &Assign<SettingsFile, &SettingsFile::web_log_file>},
};

using SectionHandlers = HandlerTable<SettingsFile, std::shared_ptr<SettingsFile::Section>>;
using KeyHandlers = HandlerTable<SettingsFile>;

std::shared_ptr<SectionHandlers> CreateSectionHandlers() {
    return CreateHandlers(SECTION_ROWS);
}

std::shared_ptr<KeyHandlers> CreateKeyHandlers() {
    return CreateHandlers(KEY_ROWS);
}

} // namespace

// These statics only hold factories; the first Value() reads the file.
System::Lazy<std::shared_ptr<SettingsFile>> SettingsFile::INSTANCE{
    CallbackFunc<std::shared_ptr<SettingsFile>>::Create(&SettingsFile::Create)};

System::Lazy<std::shared_ptr<SectionHandlers>> SettingsFile::SECTION_HANDLERS{
    CallbackFunc<std::shared_ptr<SectionHandlers>>::Create(&CreateSectionHandlers)};

System::Lazy<std::shared_ptr<KeyHandlers>> SettingsFile::KEY_HANDLERS{
    CallbackFunc<std::shared_ptr<KeyHandlers>>::Create(&CreateKeyHandlers)};

SettingsFile::SettingsFile()
    : oxbo_dpram(DpramSection::Create(DPRAM_PATH, OXBO_DPRAM_OFFSET, DPRAM_LENGTH)), oxbo_pin(OxboPinSection::Create()),
      qor_dpram(DpramSection::Create(DPRAM_PATH, QOR_DPRAM_OFFSET, DPRAM_LENGTH)), qor_pin(QorPinSection::Create()),
      led(LedSection::Create()), log_dir("/var/log"), system_config_dir("/etc"), temp_dir("/tmp"),
      user_config_dir("/mnt/config"), persistent_data_dir("/mnt/share"), module_firmware_dir("/var/spool"),
      web_log_file("/mnt/share/logger") {}

SettingsFile::~SettingsFile() = default;

std::shared_ptr<SettingsFile> SettingsFile::Create() {
    auto settings = Own(new SettingsFile);
    try {
        const auto sections = ConfigFile::ReadAll(FILE_PATH);
        auto& handlers = *SECTION_HANDLERS.Value();
        for (const auto& section : *sections)
            handlers[section.Key]->Invoke(settings, section.Value);
    } catch (const System::IO::IOException& exception) {
        // A device without the file runs on the defaults.
        System::Diagnostics::Trace::TraceWarning(exception);
    }
    return settings;
}

void SettingsFile::HandleDefaultSection(std::shared_ptr<SettingsFile> settings, std::shared_ptr<Section> section) {
    Require(settings.get(), "settings");
    HandlePairs(settings, section);
}

void SettingsFile::HandleOxboPinSection(std::shared_ptr<SettingsFile> settings, std::shared_ptr<Section> section) {
    Require(settings.get(), "settings");
    settings->oxbo_pin = OxboPinSection::FromSectionDictionary(std::move(section));
}

void SettingsFile::HandleOxboDpramSection(std::shared_ptr<SettingsFile> settings, std::shared_ptr<Section> section) {
    Require(settings.get(), "settings");
    settings->oxbo_dpram = DpramSection::FromSectionDictionary(std::move(section));
}

void SettingsFile::HandleQorPinSection(std::shared_ptr<SettingsFile> settings, std::shared_ptr<Section> section) {
    Require(settings.get(), "settings");
    settings->qor_pin = QorPinSection::FromSectionDictionary(std::move(section));
}

void SettingsFile::HandleQorDpramSection(std::shared_ptr<SettingsFile> settings, std::shared_ptr<Section> section) {
    Require(settings.get(), "settings");
    settings->qor_dpram = DpramSection::FromSectionDictionary(std::move(section));
}

void SettingsFile::HandleLedSection(std::shared_ptr<SettingsFile> settings, std::shared_ptr<Section> section) {
    Require(settings.get(), "settings");
    settings->led = LedSection::FromSectionDictionary(std::move(section));
}

} // namespace Velrix::Settings
