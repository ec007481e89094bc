// SPDX-License-Identifier: Apache-2.0
#include "tools/velrixctl/CommandTable.h"

#include <algorithm>
#include <set>
#include <sstream>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tools/velrixctl/Velrixctl.h"
#include "tools/help/Help.h"
#include "tools/velrixctl/LedPatterns.h"

using namespace VelrixTools;
using testing::HasSubstr;
using TestSupport::Velrixctl;

namespace {

bool IsSentence(const std::string& text) {
    return text.size() > 3 && text.front() >= 'A' && text.front() <= 'Z' && !text.ends_with('.');
}

} // namespace

TEST(CommandTable, DescribesEveryCommandArgumentAndOption) {
    for (const CommandRow& command : Commands()) {
        EXPECT_TRUE(IsSentence(command.summary)) << command.name;
        ASSERT_FALSE(command.text.empty()) << command.name;
        for (const std::string& paragraph : command.text)
            EXPECT_TRUE(paragraph.ends_with('.')) << command.name << ": " << paragraph;
        for (const ArgumentRow& argument : command.arguments)
            EXPECT_TRUE(IsSentence(argument.description)) << command.name << " " << argument.name;
        for (const OptionRow& option : command.options) {
            EXPECT_TRUE(IsSentence(option.description)) << command.name << " " << option.name;
            EXPECT_TRUE(option.name.starts_with("--")) << command.name << " " << option.name;
        }
    }
}

TEST(CommandTable, SaysWhatEachCommandLeavesBehind) {
    for (const CommandRow& command : Commands())
        EXPECT_TRUE(command.text.back().starts_with("Changes nothing") || command.text.back().starts_with("Leaves "))
            << command.name;
}

TEST(CommandTable, HasEachNameOnce) {
    std::set<std::string> commands;
    for (const CommandRow& command : Commands()) {
        EXPECT_TRUE(commands.insert(command.name).second) << command.name;
        std::set<std::string> names;
        for (const ArgumentRow& argument : command.arguments)
            EXPECT_TRUE(names.insert(argument.name).second) << command.name << " " << argument.name;
        for (const OptionRow& option : command.options)
            EXPECT_TRUE(names.insert(option.name).second) << command.name << " " << option.name;
    }
}

TEST(CommandTable, OffersWhatIndicationsAndPatternsThereAre) {
    for (const Indication& indication : Indications())
        EXPECT_NO_THROW(FindPattern(indication.pattern)) << indication.name;
    EXPECT_EQ(FindCommand("indicate")->arguments.front().choices.size(), Indications().size());
    EXPECT_EQ(FindCommand("led")->arguments.back().choices.size(), LedPatterns().size());
    EXPECT_EQ(FindCommand("nothing"), nullptr);
}

TEST(CommandTable, IsTheHelpOfEachCommand) {
    const auto all = Velrixctl({"COLUMNS=80", "--help"});
    EXPECT_EQ(all.code, 0);
    EXPECT_EQ(all.output, Help(ThisTool(), 80));
    EXPECT_THAT(all.output, HasSubstr("\n  -h, --help  Show this help\n"));
    for (const CommandRow& command : ThisTool().commands) {
        EXPECT_THAT(all.output, HasSubstr("\n  " + command.name + " "));

        const auto help = Velrixctl({"COLUMNS=80", "help", command.name});

        EXPECT_EQ(help.code, 0);
        EXPECT_EQ(help.output, HelpOf(ThisTool(), command, 80));
        EXPECT_THAT(help.output, HasSubstr(command.summary));
        for (const OptionRow& option : command.options)
            EXPECT_THAT(help.output, testing::ContainsRegex("\n  (-h, )?" + option.name)) << command.name;
    }
}

TEST(CommandTable, FitsTheWidth) {
    for (const std::size_t width : {60U, 100U})
        for (const CommandRow& command : Commands()) {
            std::istringstream lines(Velrixctl({"COLUMNS=" + std::to_string(width), "help", command.name}).output);
            std::size_t longest = 0;
            for (std::string line; std::getline(lines, line);) {
                EXPECT_LE(line.size(), width) << line;
                longest = std::max(longest, line.size());
            }
            // One that ignores the variable has lines of up to 80.
            EXPECT_GT(longest, width == 60 ? 40U : command.name == "check" ? 80U : 20U) << command.name;
        }
}
