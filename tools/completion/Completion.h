// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "tools/completion/CommandRow.h"

namespace VelrixTools {

// A tool with commands, such as "velrixctl".
struct CompletedTool {
    std::string name;
    std::vector<CommandRow> commands;
    std::vector<OptionRow> options; // without a command
};

// Scripts that complete a command line of the tool in a shell.
std::string BashCompletion(const CompletedTool& tool);
std::string ZshCompletion(const CompletedTool& tool);
std::string FishCompletion(const CompletedTool& tool);

} // namespace VelrixTools
