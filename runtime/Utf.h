// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace System::Utf {

// The replacement for ill-formed input.
inline constexpr char16_t REPLACEMENT = 0xFFFD;

// The number of UTF-16 code units that Decode writes for the bytes.
std::size_t CountUnits(std::string_view utf8) noexcept;

// Reads UTF-8 and writes UTF-16; returns the end of what was written. Each maximal ill-formed part, which is the
// longest beginning of some well-formed sequence and at least one byte, becomes one REPLACEMENT.
char16_t* Decode(std::string_view utf8, char16_t* target) noexcept;

// The number of bytes that Encode writes for the units.
std::size_t CountBytes(std::u16string_view units) noexcept;

// Reads UTF-16 and writes UTF-8; returns the end of what was written. An unpaired surrogate becomes REPLACEMENT.
char* Encode(std::u16string_view units, char* target) noexcept;

// Takes the code point off the front of units, which must not be empty; an unpaired surrogate is REPLACEMENT.
char32_t TakeCodePoint(std::u16string_view& units) noexcept;

bool IsAscii(std::string_view bytes) noexcept;

// Writes each byte as the code unit of the same number.
void Widen(std::string_view bytes, char16_t* target) noexcept;

// Adds the units in UTF-8 to the end of target.
void Append(std::string& target, std::u16string_view units);

} // namespace System::Utf
