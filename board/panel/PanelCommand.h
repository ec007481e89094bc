// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "board/control/IBoardControl.h"
#include "board/model/BoardState.h"
#include "board/panel/PanelQueue.h"

namespace VelrixBoard {

// What a page's control asks for, as work for the board's loop:
//
//     inputs/LABEL    {"level": true}                     drives the input
//     faults/NAME     {"fault": "EIO"}, {"fault": null}   breaks the value file of a line or LED element, or makes it
//     whole module          {"readyAfterMs": 40}, {... null}    when the Oxbo module is ready; null: never program
//     {"signal": "TERM"}                  INT, HUP and KILL likewise
//
// Looks at nothing of the state that changes, so any thread may call it. Throws PanelError, 404 for a name and 400 for
// a body that the board does not know; the work itself throws what the control throws.
PanelQueue::Work ReadPanelCommand(const std::string& path, const std::string& body, const BoardState& state,
                                  IBoardControl& control);

} // namespace VelrixBoard
