// SPDX-License-Identifier: Apache-2.0
#include "board/sandbox/NameList.h"

#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "board/base/BoardError.h"
#include "tests/support/TemporaryFolder.h"

namespace VelrixBoard {
namespace {

namespace fs = std::filesystem;
using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

class NameListTest : public testing::Test {
protected:
    // The list for these placements, with the model's settings.
    std::string Make(std::vector<Placement> placements, bool asRoot = false) const {
        BoardState state(model);
        const ValueFiles values(state, [] { return BoardTime(0); }, {});
        return MakeNameList({"sock", std::move(placements), Files(), folder.Path("device"), asRoot}, state, values);
    }

    fs::path Files() const { return folder.Path("files"); }

    static std::string Name(const std::string& inside, const fs::path& outside) {
        return "name\t" + inside + "\t" + outside.string() + "\n";
    }
    static std::string Mount(const std::string& inside, const fs::path& outside) {
        return "mount\t" + inside + "\t" + outside.string() + "\n";
    }

    const TestSupport::TemporaryFolder folder;
    BoardModel model;
};

TEST_F(NameListTest, NamesTheSocketTreesAndValueFiles) {
    const std::string list = Make({});

    EXPECT_THAT(list, AllOf(HasSubstr("socket\tsock\n"), HasSubstr("tree\t/var/dev\ntree\t/sys/class/leds\n"),
                            HasSubstr("\t0444\nvalue\t"), Not(HasSubstr("root"))));
    EXPECT_THAT(list, testing::ContainsRegex("value\t/var/dev/gpio-inputs/oxboIrqN/value\t[0-9]+\t0444\n"));
    EXPECT_THAT(list, testing::ContainsRegex("value\t/sys/class/leds/ledGwStsRed/brightness\t[0-9]+\t0644\n"));
    EXPECT_THAT(Make({}, true), HasSubstr("\nroot\n"));
}

TEST_F(NameListTest, NamesAFileThatSignalsShareOnce) {
    model.Apply("led", "module_status_red", "/etc/both");
    model.Apply("led", "network_status_red", "/etc/both");

    const std::string list = Make({});

    const std::size_t first = list.find("value\t/etc/both\t");
    ASSERT_NE(first, std::string::npos);
    EXPECT_EQ(list.find("value\t/etc/both\t", first + 1), std::string::npos);
}

TEST_F(NameListTest, LeadsABoundNameToItsPlace) {
    fs::create_directory(folder.Path("share"));

    EXPECT_THAT(Make({{Placement::Kind::BIND, "/etc/../etc/share", folder.Path("share")}}),
                HasSubstr(Mount("/etc/share", folder.Path("share"))));
}

TEST_F(NameListTest, CopiesWhatTheProgramMayReplace) {
    folder.Write("settings", "log_dir=/x\n");

    EXPECT_THAT(Make({{Placement::Kind::COPY, "/etc/velrix.conf", folder.Path("settings")}}),
                HasSubstr(Name("/etc/velrix.conf", Files() / "etc/velrix.conf")));

    EXPECT_EQ(folder.Read("files/etc/velrix.conf"), "log_dir=/x\n");
}

TEST_F(NameListTest, LetsTheProgramMakeWhatIsAbsent) {
    EXPECT_THAT(Make({{Placement::Kind::ABSENT, "/dev/log", ""}}), HasSubstr(Name("/dev/log", Files() / "dev/log")));

    EXPECT_TRUE(fs::is_directory(Files() / "dev"));
    EXPECT_FALSE(fs::exists(Files() / "dev/log"));
}

TEST_F(NameListTest, LeavesOutValueFilesBelowAnAbsentDirectory) {
    EXPECT_THAT(Make({{Placement::Kind::ABSENT, "/var/dev", ""}}),
                AllOf(Not(HasSubstr("tree\t/var/dev")), Not(HasSubstr("value\t/var/dev")),
                      HasSubstr("tree\t/sys/class/leds\n"), HasSubstr("value\t/sys/class/leds/")));
}

TEST_F(NameListTest, LinksAProgramThatGoesByItsName) {
    folder.Write("program", "");

    EXPECT_THAT(Make({{Placement::Kind::BIND, "/usr/sbin/reboot", folder.Path("program")}}),
                HasSubstr(Mount("/usr/sbin/reboot", Files() / "usr/sbin/reboot")));

    EXPECT_EQ(fs::read_symlink(Files() / "usr/sbin/reboot"), folder.Path("program"));
}

TEST_F(NameListTest, NamesAPlaceAlsoByWhatALinkOnTheWayLeadsTo) {
    fs::create_directory(folder.Path("real"));
    fs::create_directory_symlink(folder.Path("real"), folder.Path("link"));

    EXPECT_THAT(
        Make({{Placement::Kind::ABSENT, folder.Path("link/x"), ""}}),
        AllOf(HasSubstr("name\t" + folder.Path("link/x") + "\t"), HasSubstr("name\t" + folder.Path("real/x") + "\t")));
}

TEST_F(NameListTest, HasTheDirectoriesOnTheWayThatTheMachineDoesNot) {
    const fs::path mirrored = folder.Path("device/no-such/deep/value");
    fs::create_directories(mirrored.parent_path());

    EXPECT_THAT(Make({{Placement::Kind::BIND, "/no-such/deep/value", mirrored}}),
                HasSubstr(Name("/no-such", folder.Path("device/no-such"))));
    EXPECT_THAT(Make({{Placement::Kind::BIND, "/no-such/deep/record", folder.Path("elsewhere")}}),
                HasSubstr(Name("/no-such", Files() / "no-such")));
    EXPECT_TRUE(fs::is_directory(Files() / "no-such"));
}

TEST_F(NameListTest, CoversTheDirectoriesThatNamesLieIn) {
    fs::create_directory(folder.Path("real"));
    fs::create_directory_symlink(folder.Path("real"), folder.Path("link"));
    const fs::path place = Files() / fs::path(folder.Path("real")).relative_path();

    EXPECT_THAT(Make({{Placement::Kind::ABSENT, folder.Path("link/x"), ""},
                      {Placement::Kind::ABSENT, folder.Path("real/deep/x"), ""}}),
                AllOf(HasSubstr("cover\t" + folder.Path("link") + "\t" + place.string() + "\n"),
                      HasSubstr("cover\t" + folder.Path("real") + "\t" + place.string() + "\n"),
                      Not(HasSubstr("cover\t" + folder.Path("real/deep")))));
    EXPECT_TRUE(fs::is_directory(place));
    EXPECT_THAT(Make({{Placement::Kind::ABSENT, "/no-such/x", ""}}), Not(HasSubstr("cover")));
}

TEST_F(NameListTest, LeavesAValueFileAmongTheBoardsOwnFilesToTheirDirectory) {
    model.Apply("led", "module_status_red", "/mnt/share/red");

    EXPECT_THAT(Make({{Placement::Kind::BIND, "/mnt/share/red", folder.Path("device/mnt/share/red")}}),
                AllOf(Not(HasSubstr("mount\t/mnt/share/red")), HasSubstr("value\t/mnt/share/red\t")));
}

TEST_F(NameListTest, RefusesAPathThatTheListCannotHold) {
    try {
        Make({{Placement::Kind::ABSENT, "/etc/a\tb", ""}});
        FAIL();
    } catch (const BoardError& error) {
        EXPECT_THAT(error.what(), HasSubstr("\"/etc/a\tb\" has a tab or a line feed in it"));
    }
}

} // namespace
} // namespace VelrixBoard
