// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/types.h>

#include "board/preload/Path.h"

namespace VelrixBoard::Preload {

// The system call openat, for a path that was led.
int OpenLed(const Path& path, int flags, mode_t mode);

} // namespace VelrixBoard::Preload
