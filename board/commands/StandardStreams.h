// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace VelrixBoard {

// Opens /dev/null for each standard stream that this process was started without. Otherwise the next opened file would
// get its number, and the program's prints. Call it first in main. Ends the process with BOARD_FAILED if it cannot.
void OpenMissingStandardStreams();

} // namespace VelrixBoard
