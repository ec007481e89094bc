// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

namespace VelrixBoard {

// A program's output as one line that is safe for terminals and XML: keeps valid UTF-8 and tabs. A line feed becomes
// \n; other control characters and ill-formed UTF-8 become \x and two hexadecimal digits per byte. Not reversible: a
// backslash is not doubled.
std::string Printable(std::string_view text);

} // namespace VelrixBoard
