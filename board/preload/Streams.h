// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace VelrixBoard::Preload {

// A program whose standard input, output or error is a value file reads and writes it through the C library's streams,
// which do not call this library. As long as it is one, they are exchanged for streams that do.

// At the beginning, for what the program was started with.
void ExchangeStandardStreams();

// Before and after the descriptor becomes another file. Others than the three are of no interest.
void LeaveStandardStream(int descriptor);
void FollowStandardStream(int descriptor);

} // namespace VelrixBoard::Preload
