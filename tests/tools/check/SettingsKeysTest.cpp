// SPDX-License-Identifier: Apache-2.0
#include "tools/check/SettingsKeys.h"

#include <string>

#include <gtest/gtest.h>

#include "tests/settings/Sections.h"

using namespace VelrixTools;
using TestSupport::KeysOf;
using Velrix::Settings::DpramSection;
using Velrix::Settings::LedSection;
using Velrix::Settings::OxboPinSection;
using Velrix::Settings::QorPinSection;
using Velrix::Settings::SettingsFile;

namespace {

std::string KeysIn(const std::string& section) {
    std::string keys;
    for (const SettingsKey& key : SettingsKeys())
        if (key.section == section)
            keys += (keys.empty() ? "" : " ") + std::string(key.name);
    return keys;
}

std::string Sections() {
    std::string sections, last = "none";
    for (const SettingsKey& key : SettingsKeys())
        if (key.section != last) {
            last = key.section;
            sections += (sections.empty() ? "" : " ") + (last.empty() ? "-" : last);
        }
    return sections;
}

} // namespace

TEST(SettingsKeys, AreThoseOfTheLibrary) {
    EXPECT_EQ(Sections(), KeysOf(*SettingsFile::SECTION_HANDLERS.Value()));
    EXPECT_EQ(KeysIn(""), KeysOf(*SettingsFile::KEY_HANDLERS.Value()));
    EXPECT_EQ(KeysIn("oxbo_pin"), KeysOf(*OxboPinSection::KEY_HANDLERS.Value()));
    EXPECT_EQ(KeysIn("oxbo_dpram"), KeysOf(*DpramSection::KEY_HANDLERS.Value()));
    EXPECT_EQ(KeysIn("qor_pin"), KeysOf(*QorPinSection::KEY_HANDLERS.Value()));
    EXPECT_EQ(KeysIn("qor_dpram"), KeysOf(*DpramSection::KEY_HANDLERS.Value()));
    EXPECT_EQ(KeysIn("led"), KeysOf(*LedSection::KEY_HANDLERS.Value()));
}

// Each with another value, so that a field at the wrong key is seen.
TEST(SettingsKeys, ReadTheFieldThatTheLibrarysHandlerWrites) {
    int number = 0x100;
    for (const SettingsKey& key : SettingsKeys()) {
        const auto settings = DefaultSettings();
        const std::string value = std::to_string(++number);

        (*SettingsFile::SECTION_HANDLERS.Value())[key.section]->Invoke(
            settings, TestSupport::MakeSection({{key.name, value.c_str()}}));

        EXPECT_EQ(TestSupport::TextOf(key.value(*settings)), value) << key.section << " " << key.name;
    }
}

TEST(SettingsKeys, AreFoundByTheirNames) {
    ASSERT_NE(FindKey("qor_pin", "reset_n"), nullptr);
    EXPECT_STREQ(FindKey("qor_pin", "reset_n")->label, "QOR_RESET0_N");
    EXPECT_EQ(FindKey("led", "reset_n"), nullptr);
    EXPECT_EQ(FindKey("nothing", "log_dir"), nullptr);
}

TEST(SettingsKeys, ShowNumbersAsTheFileHasThem) {
    const auto settings = DefaultSettings();
    EXPECT_EQ(FindKey("oxbo_dpram", "length")->value(*settings), "2000");
    EXPECT_EQ(FindKey("qor_dpram", "offset")->value(*settings), "42000000");
    settings->qor_dpram->offset = -1;
    EXPECT_EQ(FindKey("qor_dpram", "offset")->value(*settings), "ffffffff");
}
