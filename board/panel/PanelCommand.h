// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>

#include "board/control/IBoardControl.h"
#include "board/model/BoardState.h"
#include "board/panel/PanelQueue.h"

namespace VelrixBoard {

// What commands act on.
struct PanelTarget {
    const BoardState& state;
    IBoardControl& control;
    std::function<void(int signal)> signalProgram;
    std::function<void()> restartProgram;
    std::function<void()> endBoard; // one that is kept after the program's end
};

// A command of a page, as work for the board's event loop:
//
//     inputs/LABEL  {"level": true}                    drives the input
//     inputs/LABEL  {"driver": "module"}               gives the module's line back to the module
//     faults/NAME   {"fault": "EIO"}, {"fault": null}  injects or removes a fault of a line or LED element
//     module        {"readyAfterMs": 40}, {... null}   when the Oxbo module is ready; null: never
//     program       {"signal": "TERM"}                 INT, HUP and KILL likewise
//     program       {"restart": true}                 ends it and starts it again
//     board         {"end": true}                      ends a board that is kept after its program
//
// The target must outlive the work. Reads only immutable state: any thread. Throws PanelError, 404 for an unknown name
// and 400 for an invalid body; the work itself throws what the control throws.
PanelQueue::Work ReadPanelCommand(const std::string& path, const std::string& body, const PanelTarget& target);

} // namespace VelrixBoard
