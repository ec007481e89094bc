// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "board/model/BoardState.h"

namespace VelrixBoard {

// The front panel as a small SVG picture: the LEDs with their colours, also in words, and the program with its state.
// levels: a digit per signal. Reads only immutable state: any thread. Without styles and scripts, which the panel's
// Content-Security-Policy forbids.
std::string PanelPicture(const BoardState& state, const std::string& levels, const std::string& program,
                         const std::string& programState);

} // namespace VelrixBoard
