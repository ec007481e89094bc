// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace VelrixBoard {

// Opens /dev/null in place of each of standard input, output and error that this process was started without: the next
// file that is opened would get its number, and everything printed would go into that file. Comes before anything else
// in main. Ends the process with BOARD_FAILED where /dev/null cannot be opened.
void OpenMissingStandardStreams();

} // namespace VelrixBoard
