// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tools/completion/CommandRow.h"

namespace CLI {
class App;
class ParseError;
} // namespace CLI

namespace VelrixBoard {

// What both commands offer besides their own commands: --version, "help [COMMAND]" and "completion SHELL".
class CommonCommands final {
public:
    // Call it after the other commands were added.
    explicit CommonCommands(CLI::App& application);

    // Prints, if one of these commands was given. Throws CLI::ParseError, or BoardError when the output fails.
    bool Run() const;

private:
    CLI::App& app;
    CLI::App* help;
    CLI::App* completion;
    std::string helped;
    std::string shell;
};

// Writes to standard output. Throws BoardError when it is full or was closed at the start.
void PrintOutput(std::string_view text);

// Prints the help or the error that ended the parsing; the exit code. Throws BoardError when the output fails.
int EndParsing(const CLI::App& app, const CLI::ParseError& error);

// The commands as the completions need them, from the descriptions of the help. Values are listed where the type of an
// option is words in lower case: "restart|exit".
std::vector<VelrixTools::CommandRow> CommandRows(const CLI::App& app);

} // namespace VelrixBoard
