// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include "board/preload/Path.h"

namespace VelrixBoard::Preload {

// Whether the path is a sysctl or the like, opened for writing, by which a program as root would change the machine.
// The hook fails with EROFS.
bool IsOfTheMachinesKernel(const Path& path, int flags);

// The system call openat, for a redirected path.
int OpenLed(const Path& path, int flags, mode_t mode);

} // namespace VelrixBoard::Preload
