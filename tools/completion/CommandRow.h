// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
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
    std::vector<std::string> choices{}; // values; empty: anything, completed as a file's name
    std::string optionalValue{};        // what it takes only after "=", as in "--panel=8642"; then value is empty
    std::string group{};                // heading in the help; empty: none
};

// A command, as the parser, the help, the manual page and the completions need it.
struct CommandRow {
    std::string name;
    std::string summary;           // a line
    std::vector<std::string> text; // paragraphs; the last one says what the command leaves behind
    std::vector<ArgumentRow> arguments;
    std::vector<OptionRow> options;
    bool runsProgram = false; // given after "--", with its arguments
    std::string footer{};     // a paragraph after the options in the help
};

struct ExitRow {
    int code;
    std::string meaning;
};

// A tool with commands, such as "velrixctl".
struct Tool {
    std::string name;
    std::vector<CommandRow> commands;
    std::vector<OptionRow> options; // without a command
    std::string summary{};          // a line
    std::vector<ExitRow> exits{};   // of all commands
    std::string footer{};           // a paragraph at the end of the help
};

} // namespace VelrixTools
