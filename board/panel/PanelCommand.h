// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "board/control/IBoardControl.h"
#include "board/model/BoardState.h"
#include "board/panel/PanelQueue.h"

namespace VelrixBoard {

// A command of a page, as work for the board's event loop:
//
//     inputs/LABEL  {"level": true}                    drives the input
//     faults/NAME   {"fault": "EIO"}, {"fault": null}  injects or removes a fault of a line or LED element
//     module        {"readyAfterMs": 40}, {... null}   when the Oxbo module is ready; null: never
//     program       {"signal": "TERM"}                 INT, HUP and KILL likewise
//
// Reads only immutable state: any thread. Throws PanelError, 404 for an unknown name and 400 for an invalid body; the
// work itself throws what the control throws.
PanelQueue::Work ReadPanelCommand(const std::string& path, const std::string& body, const BoardState& state,
                                  IBoardControl& control);

} // namespace VelrixBoard
