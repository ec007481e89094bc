// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace VelrixBoard {

// What the kernel of the device makes of a text that a program writes into a value file. Each gives 0 and the level, or
// the error of the write, EINVAL or ERANGE, and leaves the level alone.
//
// A line takes any number that fits into 32 bits with its sign, with the prefixes of C (0x, 0), and is high for
// everything but 0. An LED takes a decimal number that fits into 32 bits and shines for everything but 0. One line feed
// may follow; nothing else may, and nothing may stand before. The text ends at a zero byte.
int ParseLineValue(std::string_view text, bool& level);
int ParseLedValue(std::string_view text, bool& level);

} // namespace VelrixBoard
