// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <functional>

namespace VelrixBoard {

// Time since the board was started, fine enough to distinguish consecutive writes.
using BoardTime = std::chrono::nanoseconds;

// Gives the time since the board was started.
using Clock = std::function<BoardTime()>;

} // namespace VelrixBoard
