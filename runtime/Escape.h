// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace System {

// Writes text in UTF-8 so that it stays on one line and can be read back: line feed, carriage return and tab as \n, \r
// and \t, every other control character (U+0000 to U+001F, U+007F to U+009F) as \x and two hexadecimal digits, a
// backslash doubled. Returns the end of what was written; the target has room for BYTES_PER_UNIT times as many bytes.
char* WriteEscaped(char* target, std::u16string_view text) noexcept;
inline constexpr std::size_t BYTES_PER_UNIT = 4;

// Adds the same to the end of target.
void AppendEscaped(std::string& target, std::u16string_view text);

// Adds text in UTF-8 to the end of target as it is, but on one line: control characters as above, a tab and a backslash
// as they are.
void AppendOnOneLine(std::string& target, std::u16string_view text);

} // namespace System
