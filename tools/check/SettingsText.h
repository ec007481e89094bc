// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "tools/check/SettingsScan.h"

namespace VelrixTools {

// Where a part of a file is, as people and editors count: lines and columns from 1, columns and width in code points. A
// byte that is not UTF-8 counts as one. A part of several lines is as wide as its first one.
struct Location {
    std::size_t line = 1;
    std::size_t column = 1;
    std::size_t width = 1;
};

Location LocationOf(std::string_view text, Span span);

// The line that holds the offset, without its end.
std::string_view LineAt(std::string_view text, std::size_t offset);

// The bytes of the code point at the offset: 1 for what is no UTF-8.
std::size_t CodePointSize(std::string_view text, std::size_t offset);

// Text that a terminal shows as it is: control characters except tabs, and bytes that are not UTF-8, become "?". One
// code point stays one.
std::string Printable(std::string_view text);

// How a message names the character at the offset: "x" in quotes, or in words.
std::string NameOfCharacter(std::string_view text, std::size_t offset);

// The value as it can be written in a settings file: bare where the grammar allows it, otherwise in quotes.
std::string Quoted(std::string_view value);
bool NeedsQuotes(std::string_view value);

} // namespace VelrixTools
