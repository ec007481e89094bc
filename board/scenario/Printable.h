// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace VelrixBoard {

// What a program wrote, as one line that any terminal and any XML reader takes: valid UTF-8 stays as it is, and so do
// tabs. A line feed becomes the two characters \n; other control characters, and bytes that are no UTF-8, become \x and
// two hexadecimal digits for each byte. A backslash stays one, so the original cannot be told from the result.
std::string Printable(std::string_view text);

} // namespace VelrixBoard
