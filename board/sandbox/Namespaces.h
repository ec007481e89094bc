// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

namespace VelrixBoard {

// Forks into new user and mount namespaces, and with ownNumbers into a pid namespace, where the child is process 1.
// Returns 0 in the child, whose ids are not mapped yet, and the child's id in the parent. The calling process must have
// one thread. Throws BoardError with the reason and the remedy where the machine forbids it.
pid_t ForkIntoNamespaces(bool ownNumbers);

// In the child: maps the board's user and group, to themselves or, asRoot, to 0.
void MapIds(uid_t user, gid_t group, bool asRoot);

// In the child: stops the propagation of mounts in both directions.
void DetachMounts();

// In the board's mount namespace, with a skeleton on /dev: lets programs open new pseudo-terminals.
//
// The kernel looks for devpts next to the node of /dev/ptmx, so a bind mount of the node does not work; it must be a
// link to /dev/pts/ptmx. If the user may not open that, the board mounts a new /dev/pts, unless it was started on a
// terminal, whose name would disappear with the machine's /dev/pts.
void MakePseudoTerminals();

} // namespace VelrixBoard
