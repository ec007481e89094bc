// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace System::Utf {

// Copies each character by itself; whether none of them is special, by a function that gives 0 for those that are not.
//
// Most text is plain. It is copied so many characters at a time, between local arrays, whose lengths and apartness the
// compiler knows: it makes vector instructions of that.
template <class From, class To, class IsSpecial>
bool CopyPlain(const From* source, std::size_t size, To* target, IsSpecial isSpecial) noexcept {
    constexpr std::size_t STRIDE = 8;
    From special[STRIDE] = {};
    if (size < STRIDE) {
        for (std::size_t i = 0; i < size; ++i) {
            special[i] = static_cast<From>(isSpecial(source[i]));
            target[i] = static_cast<To>(source[i]);
        }
    } else {
        const auto copyStride = [&](std::size_t begin) {
            From from[STRIDE];
            To to[STRIDE];
            std::memcpy(from, source + begin, sizeof from);
            for (std::size_t i = 0; i < STRIDE; ++i)
                special[i] |= static_cast<From>(isSpecial(from[i]));
            for (std::size_t i = 0; i < STRIDE; ++i)
                to[i] = static_cast<To>(from[i]);
            std::memcpy(target + begin, to, sizeof to);
        };
        // A rest behind the last whole stride is taken with the end of that one, which is written twice.
        for (std::size_t begin = 0; begin < size - STRIDE; begin += STRIDE)
            copyStride(begin);
        copyStride(size - STRIDE);
    }
    std::uint64_t words[sizeof(From)], all = 0;
    std::memcpy(words, special, sizeof words);
    for (const std::uint64_t word : words)
        all |= word;
    return all == 0;
}

// What stands for input that is not well-formed.
inline constexpr char16_t REPLACEMENT = 0xFFFD;

// The number of UTF-16 code units that Decode writes for the bytes.
std::size_t CountUnits(std::string_view utf8) noexcept;

// Reads UTF-8 and writes UTF-16; returns the end of what was written. Each maximal ill-formed part, which is the
// longest beginning of some well-formed sequence and at least one byte, becomes one REPLACEMENT.
char16_t* Decode(std::string_view utf8, char16_t* target) noexcept;

// Takes the code point off the front of units, which must not be empty; an unpaired surrogate is REPLACEMENT.
char32_t TakeCodePoint(std::u16string_view& units) noexcept;

// Writes the code point in UTF-8, up to four bytes; returns their end.
char* Encode(char32_t codePoint, char* target) noexcept;

// Writes each byte as the code unit of the same number; whether all bytes are ASCII.
bool Widen(std::string_view bytes, char16_t* target) noexcept;

// Writes the lower half of each unit; whether all units are ASCII, which is then what was written.
bool Narrow(std::u16string_view units, char* target) noexcept;

// Adds the units in UTF-8 to the end of target; an unpaired surrogate becomes REPLACEMENT.
void Append(std::string& target, std::u16string_view units);

} // namespace System::Utf
