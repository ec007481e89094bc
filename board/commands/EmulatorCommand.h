// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace VelrixBoard {

// The command velrix-emulator: reads its arguments and does what they say; its exit code. 125 is that of everything
// that goes wrong outside of the program.
int RunEmulatorCommand(int argc, char** argv);

} // namespace VelrixBoard
