// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace VelrixBoard::Preload {

// A program that was started with a value file as its standard input, output or error reads and writes it through the C
// library's streams, which do not call this library. They are exchanged for streams that do.
void ExchangeStandardStreams();

} // namespace VelrixBoard::Preload
