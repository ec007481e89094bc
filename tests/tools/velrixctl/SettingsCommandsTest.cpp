// SPDX-License-Identifier: Apache-2.0
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/tools/velrixctl/PlainDevice.h"
#include "tests/tools/velrixctl/Velrixctl.h"
#include "tools/check/SettingsKeys.h"

using nlohmann::json;
using testing::HasSubstr;
using TestSupport::PlainDevice;
using TestSupport::Velrixctl;

namespace {

constexpr const char* FILE_TEXT =
    "# ours\nlog_dir = /data/log\ntemp_dir = /tmp\n[led]\nmodule_status_red = \"/my_led\"\n"
    "[oxbo_dpram]\noffset = 43000000\n";

} // namespace

TEST(SettingsCommand, ShowsWhatDiffersAndWhere) {
    const PlainDevice device;
    device.Write("/etc/velrix.conf", FILE_TEXT);

    const auto end = Velrixctl({"settings", "--diff"});

    EXPECT_EQ(end.code, 0);
    EXPECT_EQ(end.output,
              "log_dir = /data/log                                                # /etc/velrix.conf:2\n"
              "\n[oxbo_dpram]\n"
              "length = 0                                                         # /etc/velrix.conf:6\n"
              "offset = 43000000                                                  # /etc/velrix.conf:7\n"
              "# path is missing: /etc/velrix.conf:6\n"
              "\n[led]\n"
              "module_status_red = \"/my_led\"                                      # /etc/velrix.conf:5\n");
}

TEST(SettingsCommand, ShowsEveryKeyOnce) {
    const PlainDevice device;
    device.Write("/etc/velrix.conf", FILE_TEXT);

    const json values = json::parse(Velrixctl({"settings", "--json"}).output);

    ASSERT_EQ(values.size(), VelrixTools::SettingsKeys().size());
    EXPECT_EQ(values[0], (json{{"section", ""},
                               {"key", "log_dir"},
                               {"value", "/data/log"},
                               {"isDefault", false},
                               {"source", "file"},
                               {"file", "/etc/velrix.conf"},
                               {"line", 2}}));
    EXPECT_EQ(values[1]["source"], "default");
    EXPECT_EQ(values[2]["line"], 3); // in the file, with its default
    EXPECT_TRUE(values[2]["isDefault"].get<bool>());
    for (const json& value : values)
        if (value["section"] == "oxbo_dpram" && value["key"] == "path") {
            EXPECT_TRUE(value["value"].is_null());
        }
}

TEST(SettingsCommand, HasNothingToShowWhereNothingDiffers) {
    const PlainDevice device;
    const auto end = Velrixctl({"settings", "--diff"});
    EXPECT_EQ(end.output, "# Every setting has its default.\n");
    EXPECT_EQ(end.errors,
              "velrixctl: cannot read /etc/velrix.conf: No such file or directory; the library uses the defaults\n");
    EXPECT_EQ(Velrixctl({"settings", "--diff", "--json"}).output, "[]\n");
}

TEST(SettingsCommand, PrintsFilesThatCheckAccepts) {
    const PlainDevice device;
    device.Write("/etc/velrix.conf", "log_dir = \"/a b\\\"c\"\n[oxbo_dpram]\n[qor_dpram]\noffset=ffffffff\n");
    for (const char* option : {"--defaults", "--diff", "--help"}) {
        const auto printed =
            option == std::string("--help") ? Velrixctl({"settings"}) : Velrixctl({"settings", option});
        device.Write("/mnt/printed", printed.output);

        const auto judged = Velrixctl({"check", "/mnt/printed"});

        EXPECT_EQ(judged.code, 0) << judged.output;
    }
}

TEST(SettingsCommand, PrintsTheDefaultsWithTheMeaningOfEachKey) {
    const PlainDevice device;
    device.Write("/etc/velrix.conf", "log_dir = /elsewhere\n");

    const auto end = Velrixctl({"settings", "--defaults"});

    for (const VelrixTools::SettingsKey& key : VelrixTools::SettingsKeys()) {
        EXPECT_THAT(end.output, HasSubstr("\n" + std::string(key.name) + " = "));
        EXPECT_THAT(end.output, HasSubstr(" # " + std::string(key.meaning) + "\n"));
    }
    EXPECT_THAT(end.output, HasSubstr("\nlog_dir = /var/log "));
}

TEST(SettingsCommand, ShowsWhyTheLibraryRefusesTheFile) {
    const PlainDevice device;
    device.Write("/etc/velrix.conf", "logdir = /x\n");

    for (const char* command : {"settings", "pins", "identity"}) {
        const auto end = Velrixctl({command});

        EXPECT_EQ(end.code, 1) << command;
        EXPECT_EQ(end.output, "") << command;
        EXPECT_EQ(end.errors,
                  "/etc/velrix.conf:1:1: error: there is no key \"logdir\" before the first header; did you mean "
                  "\"log_dir\"?\n"
                  "    1 | logdir = /x\n"
                  "      | ^~~~~~\n"
                  "velrixctl: the library refuses /etc/velrix.conf\n")
            << command;
    }
}

TEST(ExplainCommand, ExplainsOneKey) {
    const auto end = Velrixctl({"explain", "oxbo_dpram", "length"});

    EXPECT_EQ(end.code, 0);
    EXPECT_EQ(end.output, "[oxbo_dpram] length\n"
                          "    size of the Oxbo module's memory window in bytes, hexadecimal\n"
                          "    takes    a hexadecimal number such as 2000\n"
                          "    default  2000 (8192 in decimal)\n"
                          "    example  length = 2000\n");
}

TEST(ExplainCommand, ExplainsSectionsAndKeysOfAllSections) {
    EXPECT_EQ(json::parse(Velrixctl({"explain", "--json"}).output).size(), VelrixTools::SettingsKeys().size());
    EXPECT_EQ(json::parse(Velrixctl({"explain", "led", "--json"}).output).size(), 8U);
    const json resets = json::parse(Velrixctl({"explain", "reset_n", "--json"}).output);
    ASSERT_EQ(resets.size(), 2U);
    EXPECT_EQ(resets[1]["section"], "qor_pin");
    EXPECT_EQ(resets[1]["label"], "QOR_RESET0_N");
    EXPECT_EQ(resets[1]["default"], "/var/dev/gpio-outputs/qorResetN/value");
    EXPECT_THAT(Velrixctl({"explain", "log_dir"}).output, HasSubstr("log_dir\n    directory of logs\n"));
}

TEST(ExplainCommand, SaysWhatThereIsNot) {
    const auto key = Velrixctl({"explain", "led", "reset_n"});
    EXPECT_EQ(key.code, 2);
    EXPECT_EQ(key.errors,
              "velrixctl: there is no key \"reset_n\" in [led]; \"velrixctl explain led\" shows its keys\n");
    EXPECT_EQ(Velrixctl({"explain", "leds"}).code, 2);
}
