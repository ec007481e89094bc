// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace VelrixBoard::Preload {

// Replaces stdin, stdout or stderr while it is a value file, since the C library's streams bypass hooks.

// At start-up, for inherited descriptors.
void ExchangeStandardStreams();

// Before and after the descriptor is replaced. Ignores other descriptors than the three.
void LeaveStandardStream(int descriptor);
void FollowStandardStream(int descriptor);

} // namespace VelrixBoard::Preload
