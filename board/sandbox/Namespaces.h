// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

namespace VelrixBoard {

// Forks into new user and mount namespaces, and with ownNumbers into a process-id namespace, where the child is process
// 1: 0 in the child, which has no ids mapped yet, the child's id in the parent. The calling process must have one
// thread. Throws BoardError that names the reason and its remedy where the machine forbids it.
pid_t ForkIntoNamespaces(bool ownNumbers);

// In the child: makes the user and the group that the board runs as known, as themselves or, asRoot, as 0.
void MapIds(uid_t user, gid_t group, bool asRoot);

// In the child: from here on no mount is seen outside, and none made outside is seen here.
void DetachMounts();

} // namespace VelrixBoard
