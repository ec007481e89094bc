// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace VelrixBoard {

// Parse a text written to a value file like the device's kernel. Each returns 0 and the level, or the error of the
// write, EINVAL or ERANGE, and leaves the level unchanged.
//
// A line accepts a signed 32-bit number with the prefixes of C (0x, 0), and is high except for 0. An LED accepts an
// unsigned 32-bit decimal number and is lit except for 0. One trailing line feed is allowed, nothing else, and nothing
// before the number. A zero byte ends the text.
int ParseLineValue(std::string_view text, bool& level);
int ParseLedValue(std::string_view text, bool& level);

} // namespace VelrixBoard
