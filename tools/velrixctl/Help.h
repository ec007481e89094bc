// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>

#include "tools/velrixctl/CommandTable.h"

namespace VelrixTools {

// "velrixctl led NAME PATTERN [OPTION]..."
std::string UsageOf(const CommandRow& command);

// What "velrixctl --help" prints, and "velrixctl help COMMAND".
std::string Help(std::size_t width);
std::string HelpOf(const CommandRow& command, std::size_t width);

} // namespace VelrixTools
