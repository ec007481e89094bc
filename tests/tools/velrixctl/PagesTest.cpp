// SPDX-License-Identifier: Apache-2.0
// What is installed beside the command: made by the build from the table, and used here as a shell uses it.
#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tools/velrixctl/CommandTable.h"
#include "tools/velrixctl/Pages.h"

using namespace VelrixTools;
using testing::HasSubstr;

namespace {

std::string ReadPage(const std::string& name) {
    std::ifstream file(VELRIXCTL_PAGES "/" + name);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string OutputOf(const std::string& command) {
    FILE* const pipe = ::popen(command.c_str(), "r");
    std::string output;
    std::array<char, 4096> block{};
    while (const std::size_t count = std::fread(block.data(), 1, block.size(), pipe))
        output.append(block.data(), count);
    EXPECT_EQ(::pclose(pipe), 0) << command;
    return output;
}

// What bash offers for the last of the words, by blanks.
std::string Complete(const std::string& words) {
    return OutputOf("bash -c '. " VELRIXCTL_PAGES "/velrixctl.bash; COMP_WORDS=(velrixctl " + words +
                    "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _velrixctl; echo \"${COMPREPLY[*]}\"' 2>&1");
}

} // namespace

TEST(Pages, AreThoseOfTheTable) {
    EXPECT_TRUE(ReadPage("velrixctl.1") == ManualPage());
    EXPECT_TRUE(ReadPage("velrixctl.bash") == BashCompletion());
    EXPECT_TRUE(ReadPage("_velrixctl") == ZshCompletion());
    EXPECT_TRUE(ReadPage("velrixctl.fish") == FishCompletion());
}

TEST(Pages, DescribeEveryCommandAndOption) {
    const std::string manual = ManualPage(), zsh = ZshCompletion(), fish = FishCompletion();
    const auto escaped = [](std::string text) {
        for (std::size_t at = text.find('-'); at != std::string::npos; at = text.find('-', at + 2))
            text.insert(at, 1, '\\');
        return text;
    };
    for (const CommandRow& command : Commands()) {
        EXPECT_THAT(manual, HasSubstr("\n.SS velrixctl " + escaped(command.name) + " ")) << command.name;
        EXPECT_THAT(zsh, HasSubstr("'" + command.name + ":" + command.summary + "'")) << command.name;
        EXPECT_THAT(fish, HasSubstr(" -a " + command.name + " -d '" + command.summary + "'")) << command.name;
        for (const OptionRow& option : command.options) {
            EXPECT_THAT(manual, HasSubstr("\n.B " + escaped(option.name))) << command.name;
            EXPECT_THAT(zsh, HasSubstr("'" + option.name + "[")) << command.name;
            EXPECT_THAT(fish, HasSubstr(" -l " + option.name.substr(2) + " ")) << command.name;
        }
    }
}

#ifndef __arm__ // the device has no groff
TEST(Pages, AreAManualPageThatIsFormattedWithoutAWarning) {
    const std::string page =
        OutputOf("groff -man -ww -Tascii -P-c -P-b -P-u -rLL=100n " VELRIXCTL_PAGES "/velrixctl.1 2>&1");
    EXPECT_THAT(page, HasSubstr("velrixctl led NAME PATTERN [OPTION]..."));
    EXPECT_EQ(page.find("troff"), std::string::npos) << page;
}
#endif

TEST(Pages, CompleteInBash) {
    EXPECT_EQ(Complete("lamp"), "lamp-test\n");
    EXPECT_EQ(Complete("pin OXBO_"), "OXBO_RL OXBO_RESET1_N\n");
    EXPECT_EQ(Complete("pin OXBO_RL \"\""), "high low\n");
    EXPECT_EQ(Complete("led MS flashing-g"), "flashing-green\n");
    EXPECT_EQ(Complete("check --"), "--paths --json --sarif --help\n");
    EXPECT_EQ(Complete("led --ms \"\""), "\n");
    EXPECT_EQ(Complete("nothing \"\""), "\n");
    EXPECT_EQ(Complete("indicate ns-t"), "ns-timeout\n");
}
