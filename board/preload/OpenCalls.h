// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include "board/preload/Path.h"

namespace VelrixBoard::Preload {

// Whether the path is a file by which the machine's kernel is set, and is to be opened for writing: a program that is
// root would set the machine. On a board it cannot; the call fails with EROFS.
bool IsOfTheMachinesKernel(const Path& path, int flags);

// The system call openat, for a path that was led.
int OpenLed(const Path& path, int flags, mode_t mode);

} // namespace VelrixBoard::Preload
