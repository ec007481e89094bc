// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "tools/completion/CommandRow.h"

namespace VelrixTools {

// Scripts that complete a command line of the tool in a shell.
std::string BashCompletion(const Tool& tool);
std::string ZshCompletion(const Tool& tool);
std::string FishCompletion(const Tool& tool);

} // namespace VelrixTools
