// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace VelrixBoard {

// In the board's mount namespace, with /dev covered: lets programs open pseudo-terminals of their own.
//
// The kernel looks for a /dev/ptmx's terminals beside the node itself, so one that is bound from elsewhere finds none;
// it has to be a link to the one in /dev/pts. Where that one is closed to the user, the board gets a /dev/pts of its
// own, unless it was started on a terminal, whose name would be lost with the machine's.
void MakePseudoTerminals();

} // namespace VelrixBoard
