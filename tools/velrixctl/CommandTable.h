// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace VelrixTools {

// A word of the command line that is not an option.
struct ArgumentRow {
    std::string name;
    std::string description;
    bool isRequired = false;
    bool isRepeated = false;
    std::vector<std::string> choices{}; // empty: anything, completed as a file's name
};

struct OptionRow {
    std::string name;
    std::string value; // what it takes; empty: nothing
    std::string description;
};

// A command, as the parser, the help, the manual page and the completions need it.
struct CommandRow {
    std::string name;
    std::string summary;           // a line
    std::vector<std::string> text; // paragraphs; the last one says what the command leaves behind
    std::vector<ArgumentRow> arguments;
    std::vector<OptionRow> options;
};

// All commands, in the order of the help.
const std::vector<CommandRow>& Commands();

// Null where there is none.
const CommandRow* FindCommand(std::string_view name);

// Every command has it.
const OptionRow& HelpOption();

// The exit codes of all commands.
struct ExitRow {
    int code;
    std::string meaning;
};
const std::vector<ExitRow>& ExitCodes();

inline constexpr int EXIT_GOOD = 0;
inline constexpr int EXIT_WRONG = 1;
inline constexpr int EXIT_FAILED = 2;

// A word or two about the whole, for the help and the manual page.
inline constexpr const char* ABOUT = "look at a Velrix board and drive it by hand";

} // namespace VelrixTools
