// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "board/control/ScenarioPlayer.h"

namespace CLI {
class App;
class Error;
class Option;
} // namespace CLI

namespace VelrixBoard {

// The board could not be made, or an argument is wrong.
inline constexpr int BOARD_FAILED = 125;

// Opens /dev/null for each standard stream that this process was started without. Otherwise the next opened file would
// get its number, and the program's prints. Call it first in main. Ends the process with BOARD_FAILED if it cannot.
void OpenMissingStandardStreams();

// Standard output was one of them.
bool WasOutputMissing();

// The arguments up to "--" in CLI11's order, last first; the rest is the program's.
std::vector<std::string> OwnArguments(int argc, char** argv, std::vector<std::string>& program);

// The following add options that set the given variables when the command is parsed.
//
// How the board begins: levels of inputs by their labels, and when the Oxbo module becomes ready; nothing: never.
void AddBeginningOptions(CLI::App& command, std::map<std::string, bool>& levels,
                         std::optional<std::chrono::milliseconds>& oxboReadyAfter);

// How the run is recorded and judged.
void AddTestingOptions(CLI::App& command, std::optional<std::string>& timeline, ScenarioOptions& scenario);

// The message for arguments that are wrong: the reason, and where help is. For CLI::App's failure_message.
std::string RefusalText(const CLI::App* app, const CLI::Error& error);

// The command takes a program after "--".
bool RunsProgram(const CLI::App& command);

// What the option takes, such as "FILE"; without what CLI11 appends after a colon, its own list of the choices.
std::string ValueOf(const CLI::Option& option);

// Throws CLI::ParseError when there is no program to run.
void RequireProgram(const CLI::App& app, const std::vector<std::string>& program);

// Lets each occurrence of an option take one value, which is neither empty nor an option: "--set A=1 -- X" would take
// more, a script's --settings "$file" would run without settings, and --settings --terminal is an omission. Call it
// after the last option was added.
void TakeOneValueEach(CLI::App& command);

} // namespace VelrixBoard
