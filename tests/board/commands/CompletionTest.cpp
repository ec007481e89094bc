// SPDX-License-Identifier: Apache-2.0
// The completions of both commands, as a shell uses them.
#include <filesystem>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/board/CommandRun.h"

namespace VelrixBoard {
namespace {

using testing::HasSubstr;

std::string OutputOf(std::vector<std::string> command) {
    const CommandEnd end = CommandRun{std::move(command)}.Run();
    EXPECT_EQ(end.ExitCode(), 0) << end.errors;
    EXPECT_EQ(end.errors, "");
    return end.output;
}

class CompletionTest : public testing::TestWithParam<const char*> {
protected:
    const std::string command = GetParam();
    const std::string tool = std::filesystem::path(command).filename();

    // The words of the first column that begin with a letter, or those that are options.
    static std::vector<std::string> Column(const std::string& help, bool isOption) {
        std::vector<std::string> words;
        std::istringstream lines(help);
        bool areCommands = isOption;
        for (std::string line, word; std::getline(lines, line);) {
            areCommands = areCommands || line == "Commands:";
            if (!areCommands || !line.starts_with("  ") || line.starts_with("   "))
                continue;
            std::istringstream row(line);
            while (row >> word && word == "-h,")
                continue;
            if (word.starts_with("-") == isOption)
                words.push_back(word.substr(0, word.find('[')));
        }
        return words;
    }

    std::string Complete(const std::string& words) const {
        const std::string script = "PATH=" + std::filesystem::path(command).parent_path().string() +
                                   ":$PATH; . \"$1\"; COMP_WORDS=(" + tool + " " + words +
                                   "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); ${2//-/_}; echo \"${COMPREPLY[*]}\"";
        const std::filesystem::path installed =
            std::filesystem::path(command).parent_path() / "completions" / (tool + ".bash");
        return OutputOf({"bash", "-c", script, "bash", installed, "_" + tool});
    }
};

TEST_P(CompletionTest, DescribesEveryCommandAndOption) {
    const std::string fish = OutputOf({command, "completion", "fish"});
    const std::string zsh = OutputOf({command, "completion", "zsh"});
    std::istringstream lines(fish);
    for (std::string line; std::getline(lines, line);) {
        const bool isArgument = line.find(" -d ") == std::string::npos && line.find(" -l ") == std::string::npos;
        if (!isArgument && line.starts_with("complete ")) {
            EXPECT_THAT(line, testing::ContainsRegex(" -d '[A-Z].*[^.]'$"));
        }
    }

    const std::vector<std::string> commands = Column(OutputOf({command, "--help"}), false);
    ASSERT_THAT(commands, testing::IsSupersetOf({"run", "help", "completion"}));
    for (const std::string& each : commands) {
        EXPECT_THAT(fish, HasSubstr(" -n __fish_use_subcommand -a " + each + " -d "));
        EXPECT_THAT(zsh, HasSubstr("        '" + each + ":"));
        const std::vector<std::string> options = Column(OutputOf({command, "help", each}), true);
        ASSERT_FALSE(options.empty());
        for (const std::string& option : options) {
            EXPECT_THAT(fish, HasSubstr("from " + each + "' -l " + option.substr(2) + " ")) << each;
            EXPECT_THAT(zsh, HasSubstr("'" + option + "[")) << each;
        }
    }
}

TEST_P(CompletionTest, CompletesInBash) {
    EXPECT_EQ(Complete("--v"), "--version\n");
    EXPECT_EQ(Complete("ru"), "run\n");
    EXPECT_EQ(Complete("help comp"), "completion\n");
    EXPECT_EQ(Complete("completion \"\""), "bash zsh fish\n");
    EXPECT_EQ(Complete("run --sc"), "--scenario\n");
    EXPECT_EQ(Complete("run --settings \"\""), "\n");
    EXPECT_EQ(Complete("run -- --sc"), "\n");
}

std::vector<const char*> Commands() {
    std::vector<const char*> commands = {VELRIX_BOARD_COMMAND};
#ifdef VELRIX_EMULATOR_COMMAND
    commands.push_back(VELRIX_EMULATOR_COMMAND);
#endif
    return commands;
}

INSTANTIATE_TEST_SUITE_P(Of, CompletionTest, testing::ValuesIn(Commands()), [](const auto& each) {
    return std::string(each.param).ends_with("emulator") ? "VelrixEmulator" : "VelrixBoard";
});

TEST(BoardCompletionTest, KnowsTheValuesOfOptions) {
    const std::string script = OutputOf({VELRIX_BOARD_COMMAND, "completion", "bash"});

    EXPECT_THAT(script, HasSubstr("--isolation) values='namespaces preload auto' ;;"));
    EXPECT_THAT(script, HasSubstr("--on-reboot) values='restart exit' ;;"));
    EXPECT_THAT(script, testing::Not(HasSubstr("--oxbo-ready-after) values")));
}

} // namespace
} // namespace VelrixBoard
