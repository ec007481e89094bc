// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <fstream>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include <System/Convert.h>

#include <velrix/settings/SettingsFile.h>

#include "tests/settings/PrivateEtc.h"
#include "tests/settings/Sections.h"

using System::string_ptr;
using TestSupport::TextOf;
using Velrix::Settings::DpramSection;
using Velrix::Settings::SettingsFile;

// The tables of docs/settings.md and the manual page must list exactly the accepted sections and keys, in the same
// order, with the actual defaults.

namespace {

// The text in the first backquotes from position on, or nothing.
std::string Quoted(const std::string& line, std::size_t position) {
    const std::size_t begin = line.find('`', position), end = line.find('`', begin + 1);
    return begin == std::string::npos ? "" : line.substr(begin + 1, end - begin - 1);
}

// "[section] key=default key=default [section] ...", from the headings and tables of the page; the keys before the
// first header are under "[]".
std::string ReadDocumentation() {
    std::ifstream page(SETTINGS_DOCUMENTATION);
    std::string read;
    bool inSection = false;
    for (std::string line; std::getline(page, line);) {
        if (line.rfind("## ", 0) == 0)
            inSection = false;
        if (line.rfind("### ", 0) == 0) {
            inSection = true;
            read += (read.empty() ? "" : "\n") + (line == "### Before the first header" ? "[]" : Quoted(line, 0));
        }
        if (inSection && line.rfind("| `", 0) == 0)
            read += " " + Quoted(line, 0) + "=" + Quoted(line, line.rfind('|', line.size() - 2));
    }
    return read;
}

// The same from the manual page: ".SS [section]", and ".BR key " = " default".
std::string ReadManual() {
    std::ifstream page(SETTINGS_MANUAL);
    const std::string heading = ".SS ", pair = ".BR ", equals = " \" = \" ";
    std::string read;
    for (std::string line; std::getline(page, line);) {
        const std::string name = line.substr(std::min(line.size(), heading.size()));
        if (line.rfind(heading, 0) == 0)
            read += (read.empty() ? "" : "\n") + (name == "Before the first header" ? "[]" : name);
        else if (const std::size_t end = name.find(equals); line.rfind(pair, 0) == 0 && end != std::string::npos)
            read += " " + name.substr(0, end) + "=" + name.substr(end + equals.size());
    }
    return read;
}

// The same from the handler tables. A key's default is that of the field that its handler changes in a second, equal
// object.
template <class Owner, std::size_t COUNT>
std::string DescribeStrings(const std::shared_ptr<Owner>& owner, const std::shared_ptr<Owner>& scratch,
                            string_ptr Owner::*const (&fields)[COUNT]) {
    std::string described;
    for (const auto& pair : *Owner::KEY_HANDLERS.Value()) {
        described += " " + pair.Key->ToUtf8() + "=";
        pair.Value->Invoke(scratch, "marked");
        for (const auto field : fields)
            if ((*scratch).*field == "marked") {
                described += TextOf((*owner).*field);
                (*scratch).*field = (*owner).*field;
            }
    }
    return described;
}

std::string DescribeWindow(const std::shared_ptr<DpramSection>& window) {
    std::string described;
    for (const auto& pair : *DpramSection::KEY_HANDLERS.Value()) {
        const std::string key = pair.Key->ToUtf8();
        described += " " + key + "=" +
                     (key == "length"   ? TextOf(System::Convert::ToString(window->length, 16))
                      : key == "offset" ? TextOf(System::Convert::ToString(window->offset, 16))
                      : key == "path"   ? TextOf(window->path)
                                        : "a key without a field");
    }
    return described;
}

std::string DescribeSettings() {
    using namespace Velrix::Settings;
    const TestSupport::PrivateEtc etc("");
    const auto settings = SettingsFile::Create();
    std::string described;
    for (const auto& row : *SettingsFile::SECTION_HANDLERS.Value()) {
        const std::string name = row.Key->ToUtf8();
        described += (described.empty() ? "[" : "\n[") + name + "]";
        if (name.empty())
            described += DescribeStrings<SettingsFile, 7>(
                settings, SettingsFile::Create(),
                {&SettingsFile::log_dir, &SettingsFile::system_config_dir, &SettingsFile::temp_dir,
                 &SettingsFile::user_config_dir, &SettingsFile::persistent_data_dir, &SettingsFile::module_firmware_dir,
                 &SettingsFile::web_log_file});
        else if (name == "oxbo_pin")
            described += DescribeStrings<OxboPinSection, 5>(
                settings->oxbo_pin, OxboPinSection::Create(),
                {&OxboPinSection::irq_n, &OxboPinSection::mod_1, &OxboPinSection::mod_id_0_sync,
                 &OxboPinSection::ramloader_enable, &OxboPinSection::reset_n});
        else if (name == "oxbo_dpram")
            described += DescribeWindow(settings->oxbo_dpram);
        else if (name == "qor_pin")
            described += DescribeStrings<QorPinSection, 4>(settings->qor_pin, QorPinSection::Create(),
                                                           {&QorPinSection::bootloader_enable_n, &QorPinSection::busy_n,
                                                            &QorPinSection::irq_n, &QorPinSection::reset_n});
        else if (name == "qor_dpram")
            described += DescribeWindow(settings->qor_dpram);
        else if (name == "led")
            described += DescribeStrings<LedSection, 8>(
                settings->led, LedSection::Create(),
                {&LedSection::link_act_1_green, &LedSection::link_act_1_yellow, &LedSection::link_act_2_green,
                 &LedSection::link_act_2_yellow, &LedSection::module_status_green, &LedSection::module_status_red,
                 &LedSection::network_status_green, &LedSection::network_status_red});
    }
    return described;
}

} // namespace

TEST(SettingsDocumentation, NamesEveryKeyWithItsDefaultAndNoOther) {
    const std::string settings = DescribeSettings();

    EXPECT_EQ(ReadDocumentation(), settings);
    EXPECT_EQ(ReadManual(), settings);
}

// The example of the page, between ```ini and ```.
TEST(SettingsDocumentation, GivesAnExampleThatIsTaken) {
    std::ifstream page(SETTINGS_DOCUMENTATION);
    std::string example, line;
    while (std::getline(page, line) && line != "```ini") {
    }
    while (std::getline(page, line) && line != "```")
        example += line + "\n";
    const TestSupport::PrivateEtc etc(example);

    const auto settings = SettingsFile::Create();

    EXPECT_EQ(settings->log_dir, "/data/log");
    EXPECT_EQ(settings->oxbo_pin->reset_n, "/sys/class/gpio/gpio7/value");
    EXPECT_EQ(settings->oxbo_dpram->path, "/dev/mem");
    EXPECT_EQ(settings->oxbo_dpram->offset, 0x44000000);
    EXPECT_EQ(settings->oxbo_dpram->length, 8192);
    EXPECT_EQ(settings->led->module_status_red, "/sys/class/leds/red_status/brightness");
}
