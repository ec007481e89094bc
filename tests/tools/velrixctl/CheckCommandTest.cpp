// SPDX-License-Identifier: Apache-2.0
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/support/TemporaryFolder.h"
#include "tests/tools/velrixctl/Velrixctl.h"

using nlohmann::json;
using testing::HasSubstr;
using TestSupport::TemporaryFolder;
using TestSupport::Velrixctl;

TEST(CheckCommand, IsGoodWithAGoodFile) {
    const TemporaryFolder folder;
    folder.Write("a", "log_dir = /data/log\n");

    const auto end = Velrixctl({"check", folder.Path("a")});

    EXPECT_EQ(end.code, 0);
    EXPECT_EQ(end.output, folder.Path("a") + ": good\n");
    EXPECT_EQ(end.errors, "");
}

TEST(CheckCommand, ShowsATechnicianAMisspeltKey) {
    const TemporaryFolder folder;
    folder.Write("a", "[oxbo_pin]\nreset_nn = /sys/class/gpio/gpio7/value\n");
    const std::string file = folder.Path("a");

    const auto end = Velrixctl({"check", file});

    EXPECT_EQ(end.code, 1);
    EXPECT_EQ(end.output, file +
                              ":2:1: error: there is no key \"reset_nn\" in [oxbo_pin]; did you mean \"reset_n\"?\n"
                              "    2 | reset_nn = /sys/class/gpio/gpio7/value\n"
                              "      | ^~~~~~~~\n" +
                              file + ": 1 error\n");
}

TEST(CheckCommand, ShowsATechnicianAHexadecimalLength) {
    const TemporaryFolder folder;
    folder.Write("a", "[oxbo_dpram]\npath = /dev/mem\noffset = 44000000\nlength = 8192\n");
    const std::string file = folder.Path("a");

    const auto end = Velrixctl({"check", file});

    EXPECT_EQ(end.code, 0);
    EXPECT_EQ(end.output, file +
                              ":4:10: warning: \"8192\" is hexadecimal, 33170 bytes; 8192 bytes are 2000\n"
                              "    4 | length = 8192\n"
                              "      |          ^~~~\n" +
                              file + ": good, 1 warning\n");
}

TEST(CheckCommand, GoesOnAfterAFileThatItCannotRead) {
    const TemporaryFolder folder;
    folder.Write("a", "x = 1\n");
    const std::string missing = folder.Path("none");

    const auto end = Velrixctl({"check", missing, folder.Path("a"), folder.Path()});

    EXPECT_EQ(end.code, 2);
    EXPECT_EQ(end.errors, "velrixctl: cannot read " + missing + ": No such file or directory\n" +
                              "velrixctl: cannot read " + folder.Path() + ": it is a directory\n");
    EXPECT_THAT(end.output, HasSubstr(folder.Path("a") + ":1:1: error: there is no key \"x\""));
}

TEST(CheckCommand, WarnsOfPathsOnRequest) {
    const TemporaryFolder folder;
    folder.Write("a", "log_dir = /no/such/folder\n");

    EXPECT_EQ(Velrixctl({"check", folder.Path("a")}).output, folder.Path("a") + ": good\n");
    EXPECT_THAT(Velrixctl({"check", "--paths", folder.Path("a")}).output,
                HasSubstr(":1:11: warning: \"/no/such/folder\" does not exist; this is the path of a directory\n"));
}

TEST(CheckCommand, GivesJson) {
    const TemporaryFolder folder;
    folder.Write("a", "# \xC3\xA4\n [leds]\n");
    folder.Write("b", std::string("\xFF"));

    const auto end = Velrixctl({"check", "--json", folder.Path("a"), folder.Path("none"), folder.Path("b")});

    EXPECT_EQ(end.code, 2);
    const json found = json::parse(end.output);
    ASSERT_EQ(found.size(), 3U);
    EXPECT_EQ(found[0], (json{{"file", folder.Path("a")},
                              {"line", 2},
                              {"column", 3},
                              {"width", 4},
                              {"severity", "error"},
                              {"rule", "unknown-section"},
                              {"text", "there is no section \"leds\"; did you mean \"led\"?"},
                              {"source", " [leds]"}}));
    EXPECT_EQ(found[1]["rule"], "unreadable");
    EXPECT_EQ(found[2]["source"], "\xEF\xBF\xBD"); // JSON is UTF-8
}

TEST(CheckCommand, GivesSarif) {
    const TemporaryFolder folder;
    folder.Write("a b", "logdir = /x\n[oxbo_dpram]\n");

    const auto end = Velrixctl({"check", "--sarif", folder.Path("a b"), folder.Path("none")});

    EXPECT_EQ(end.code, 2);
    const json log = json::parse(end.output);
    EXPECT_EQ(log["version"], "2.1.0");
    const json& run = log["runs"][0];
    EXPECT_EQ(run["tool"]["driver"]["name"], "velrixctl");
    EXPECT_EQ(run["columnKind"], "unicodeCodePoints");
    ASSERT_EQ(run["results"].size(), 2U);
    EXPECT_EQ(run["results"][0]["level"], "error");
    EXPECT_EQ(run["results"][1]["level"], "warning");
    EXPECT_EQ(run["results"][1]["ruleId"], run["tool"]["driver"]["rules"][1]["id"]);
    const json& place = run["results"][0]["locations"][0]["physicalLocation"];
    EXPECT_EQ(place["artifactLocation"]["uri"], "file://" + folder.Path("a%20b"));
    EXPECT_EQ(place["region"]["startLine"], 1);
    EXPECT_EQ(place["region"]["startColumn"], 1);
    EXPECT_EQ(place["region"]["endColumn"], 7);
    EXPECT_FALSE(run["invocations"][0]["executionSuccessful"].get<bool>());
}

TEST(CheckCommand, CannotPrintBothForPrograms) {
    const auto end = Velrixctl({"check", "--json", "--sarif"});
    EXPECT_EQ(end.code, 2);
    EXPECT_EQ(end.errors, "velrixctl: --json and --sarif exclude each other\n");
}

TEST(CheckCommand, NoticesThatItsOutputIsLost) {
    const TemporaryFolder folder;
    folder.Write("a", "");

    for (const char* option : {"--paths", "--json", "--sarif"}) {
        const auto end = Velrixctl({"check", option, folder.Path("a"), "> /dev/full"});
        EXPECT_EQ(end.code, 2) << option;
        EXPECT_EQ(end.errors, "velrixctl: cannot write the output: No space left on device\n") << option;
    }
}
