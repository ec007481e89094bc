// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace VelrixBoard {

// The command velrix-board: reads its arguments and does what they say. Does not return where the program on the board
// ended by a signal. 125 is the exit code of everything that goes wrong before the program runs.
int RunCommand(int argc, char** argv);

} // namespace VelrixBoard
