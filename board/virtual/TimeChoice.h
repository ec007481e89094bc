// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace VelrixBoard {

// Whether a board could have virtual time for that program, which is found by PATH: this command has the library that
// programs load for it, the kernel says what threads wait in, and the program is one that loads libraries. True too for
// a program that is not there, which the start says.
bool CanSkipTime(const std::string& program);

} // namespace VelrixBoard
