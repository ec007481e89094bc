// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>

#include "board/virtual/BoardState.h"

namespace VelrixBoard {

// Gives the time since the board was started.
using Clock = std::function<BoardTime()>;

} // namespace VelrixBoard
