// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace VelrixTools {

// What is made of the table of commands when this project is built: the manual page in troff, and scripts that complete
// a command line in a shell.
std::string ManualPage();
std::string BashCompletion();
std::string ZshCompletion();
std::string FishCompletion();

} // namespace VelrixTools
