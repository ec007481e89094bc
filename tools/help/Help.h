// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>

#include "tools/completion/CommandRow.h"

namespace VelrixTools {

// What "velrixctl --help" prints, and "velrixctl help COMMAND". Lines of at most width columns; a longer word has a
// line to itself.
std::string Help(const Tool& tool, std::size_t width);
std::string HelpOf(const Tool& tool, const CommandRow& command, std::size_t width);

} // namespace VelrixTools
