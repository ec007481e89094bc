// SPDX-License-Identifier: Apache-2.0
#include "runtime/Utf.h"

namespace System::Utf {

namespace {

constexpr bool IsHighSurrogate(char16_t unit) noexcept {
    return (unit & 0xFC00) == 0xD800;
}
constexpr bool IsLowSurrogate(char16_t unit) noexcept {
    return (unit & 0xFC00) == 0xDC00;
}

// Takes the code point, or the ill-formed part as REPLACEMENT, off the front of utf8, which must not be empty.
char32_t TakeCodePoint(std::string_view& utf8) noexcept {
    const auto first = static_cast<unsigned char>(utf8.front());
    utf8.remove_prefix(1);
    if (first < 0x80)
        return first;
    if (first < 0xC2 || first > 0xF4)
        return REPLACEMENT;
    // The ranges of the second byte keep out overlong forms (E0, F0), surrogates (ED) and what is beyond U+10FFFF (F4).
    int lowest = first == 0xE0 ? 0xA0 : first == 0xF0 ? 0x90 : 0x80;
    int highest = first == 0xED ? 0x9F : first == 0xF4 ? 0x8F : 0xBF;
    const int following = first < 0xE0 ? 1 : first < 0xF0 ? 2 : 3;
    // The first byte's own bits are below its length mark: 5, 4 or 3 of them.
    char32_t codePoint = first & (0x3Fu >> following);
    for (int i = 0; i < following; ++i) {
        const int next = utf8.empty() ? -1 : static_cast<unsigned char>(utf8.front());
        if (next < lowest || next > highest)
            return REPLACEMENT;
        utf8.remove_prefix(1);
        codePoint = codePoint << 6 | (static_cast<unsigned>(next) & 0x3Fu);
        lowest = 0x80;
        highest = 0xBF;
    }
    return codePoint;
}

} // namespace

char32_t TakeCodePoint(std::u16string_view& units) noexcept {
    const char16_t first = units.front();
    units.remove_prefix(1);
    if (IsLowSurrogate(first))
        return REPLACEMENT;
    if (!IsHighSurrogate(first))
        return first;
    if (units.empty() || !IsLowSurrogate(units.front()))
        return REPLACEMENT;
    const char16_t second = units.front();
    units.remove_prefix(1);
    return 0x10000 + ((first & 0x3FFu) << 10 | (second & 0x3FFu));
}

std::size_t CountUnits(std::string_view utf8) noexcept {
    std::size_t count = 0;
    while (!utf8.empty())
        count += TakeCodePoint(utf8) > 0xFFFF ? 2 : 1;
    return count;
}

char16_t* Decode(std::string_view utf8, char16_t* target) noexcept {
    while (!utf8.empty())
        if (const char32_t codePoint = TakeCodePoint(utf8); codePoint > 0xFFFF) {
            *target++ = static_cast<char16_t>(0xD800 + ((codePoint - 0x10000) >> 10));
            *target++ = static_cast<char16_t>(0xDC00 + (codePoint & 0x3FF));
        } else
            *target++ = static_cast<char16_t>(codePoint);
    return target;
}

char* Encode(char32_t codePoint, char* target) noexcept {
    if (codePoint < 0x80) {
        *target++ = static_cast<char>(codePoint);
        return target;
    }
    // The first byte carries the length mark, all others carry six bits of the code point.
    int following = codePoint < 0x800 ? 1 : codePoint < 0x10000 ? 2 : 3;
    *target++ = static_cast<char>(0xFF00u >> (following + 1) | codePoint >> 6 * following);
    while (following-- > 0)
        *target++ = static_cast<char>(0x80 | (codePoint >> 6 * following & 0x3F));
    return target;
}

bool Widen(std::string_view bytes, char16_t* target) noexcept {
    return CopyPlain(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size(), target,
                     [](unsigned char byte) { return byte & 0x80; });
}

bool Narrow(std::u16string_view units, char* target) noexcept {
    return CopyPlain(units.data(), units.size(), target, [](char16_t unit) { return unit & 0xFF80; });
}

void Append(std::string& target, std::u16string_view units) {
    constexpr std::size_t BYTES_PER_UNIT = 3; // at most
    const std::size_t before = target.size();
    target.resize(before + units.size());
    if (Narrow(units, target.data() + before))
        return;
    target.resize(before + BYTES_PER_UNIT * units.size());
    char* end = target.data() + before;
    while (!units.empty())
        end = Encode(TakeCodePoint(units), end);
    target.resize(static_cast<std::size_t>(end - target.data()));
}

} // namespace System::Utf
