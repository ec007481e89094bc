// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tools/completion/CommandRow.h"

namespace VelrixTools {

// All commands, in the order of the help.
const std::vector<CommandRow>& Commands();

// Null where there is none.
const CommandRow* FindCommand(std::string_view name);

// Every command has it.
const OptionRow& HelpOption();

// The exit codes of all commands.
const std::vector<ExitRow>& ExitCodes();

// All of this, each command with HelpOption.
const Tool& ThisTool();

inline constexpr int EXIT_GOOD = 0;
inline constexpr int EXIT_WRONG = 1;
inline constexpr int EXIT_FAILED = 2;

// A word or two about the whole, for the help and the manual page.
inline constexpr const char* ABOUT = "look at a Velrix board and drive it by hand";

} // namespace VelrixTools
