// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "board/timeline/Timeline.h"

namespace VelrixBoard {

// Reads a recording: VCD with scalar wires, any time scale from 1 fs to 100 s, comments skipped, levels x and z read as
// low. Times are truncated to microseconds. Throws TimelineError with the file and the line for anything else.
Timeline ReadVcd(const std::string& path);

} // namespace VelrixBoard
