// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "board/time/IProgramThreads.h"

namespace VelrixBoard {

// The name of the system call that the thread sleeps in, if that ends by the machine's clock: "nanosleep". Null for
// others, and for those without a limit.
const char* TimedSystemCall(const ProgramThread& thread);

} // namespace VelrixBoard
