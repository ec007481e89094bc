// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace VelrixBoard {

// In the board's mount namespace, with a skeleton on /dev: lets programs open new pseudo-terminals.
//
// The kernel looks for devpts next to the node of /dev/ptmx, so a bind mount of the node does not work; it must be a
// link to /dev/pts/ptmx. If the user may not open that, the board mounts a new /dev/pts, unless it was started on a
// terminal, whose name would disappear with the machine's /dev/pts.
void MakePseudoTerminals();

} // namespace VelrixBoard
