// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>

#include <poll.h>

#include "board/base/Clock.h"

namespace VelrixBoard {

// Waits until a descriptor is ready, at most so long, or for a signal; results as ppoll(2), errno included. longest:
// nothing is no timeout, and a time below zero is invalid.
int PollDescriptors(pollfd* descriptors, std::size_t count, const std::optional<BoardTime>& longest);

} // namespace VelrixBoard
