// SPDX-License-Identifier: Apache-2.0
#include "runtime/Utf.h"

namespace System::Utf {

namespace {

// What a lead byte promises: how many bytes follow it and in which range the first of them must lie. The narrowed
// ranges keep out overlong forms (E0, F0), surrogates (ED) and what is beyond U+10FFFF (F4). All later ones lie in 80
// to BF.
struct Lead {
    int following; // -1: no sequence begins with this byte
    unsigned char lowest = 0x80;
    unsigned char highest = 0xBF;
};

Lead ReadLead(unsigned char byte) noexcept {
    if (byte < 0x80)
        return {0};
    if (byte < 0xC2)
        return {-1};
    if (byte < 0xE0)
        return {1};
    if (byte < 0xF0)
        return {2, static_cast<unsigned char>(byte == 0xE0 ? 0xA0 : 0x80),
                static_cast<unsigned char>(byte == 0xED ? 0x9F : 0xBF)};
    if (byte < 0xF5)
        return {3, static_cast<unsigned char>(byte == 0xF0 ? 0x90 : 0x80),
                static_cast<unsigned char>(byte == 0xF4 ? 0x8F : 0xBF)};
    return {-1};
}

// Takes one code point, or one ill-formed part as REPLACEMENT, off the front of utf8, which must not be empty.
char32_t TakeCodePoint(std::string_view& utf8) noexcept {
    const auto first = static_cast<unsigned char>(utf8.front());
    utf8.remove_prefix(1);
    Lead lead = ReadLead(first);
    if (lead.following < 0)
        return REPLACEMENT;
    // The lead byte's own bits stand below its length mark: 7, 5, 4 or 3 of them.
    char32_t codePoint = lead.following == 0 ? first : first & (0x3Fu >> lead.following);
    for (; lead.following > 0; --lead.following) {
        if (utf8.empty())
            return REPLACEMENT;
        const auto next = static_cast<unsigned char>(utf8.front());
        if (next < lead.lowest || next > lead.highest)
            return REPLACEMENT;
        utf8.remove_prefix(1);
        codePoint = codePoint << 6 | (next & 0x3Fu);
        lead.lowest = 0x80;
        lead.highest = 0xBF;
    }
    return codePoint;
}

constexpr bool IsHighSurrogate(char16_t unit) noexcept {
    return (unit & 0xFC00) == 0xD800;
}
constexpr bool IsLowSurrogate(char16_t unit) noexcept {
    return (unit & 0xFC00) == 0xDC00;
}

} // namespace

std::size_t CountUnits(std::string_view utf8) noexcept {
    std::size_t count = 0;
    while (!utf8.empty())
        count += TakeCodePoint(utf8) > 0xFFFF ? 2 : 1;
    return count;
}

char16_t* Decode(std::string_view utf8, char16_t* target) noexcept {
    while (!utf8.empty()) {
        const char32_t codePoint = TakeCodePoint(utf8);
        if (codePoint > 0xFFFF) {
            *target++ = static_cast<char16_t>(0xD800 + ((codePoint - 0x10000) >> 10));
            *target++ = static_cast<char16_t>(0xDC00 + (codePoint & 0x3FF));
        } else
            *target++ = static_cast<char16_t>(codePoint);
    }
    return target;
}

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

std::size_t CountBytes(std::u16string_view units) noexcept {
    std::size_t count = 0;
    while (!units.empty()) {
        const char32_t codePoint = TakeCodePoint(units);
        count += codePoint < 0x80 ? 1 : codePoint < 0x800 ? 2 : codePoint < 0x10000 ? 3 : 4;
    }
    return count;
}

char* Encode(std::u16string_view units, char* target) noexcept {
    while (!units.empty()) {
        const char32_t codePoint = TakeCodePoint(units);
        // A byte that begins a sequence carries its length mark, all others carry six bits of the code point.
        const auto following = [&](int shift) { *target++ = static_cast<char>(0x80 | (codePoint >> shift & 0x3F)); };
        if (codePoint < 0x80)
            *target++ = static_cast<char>(codePoint);
        else if (codePoint < 0x800) {
            *target++ = static_cast<char>(0xC0 | codePoint >> 6);
            following(0);
        } else if (codePoint < 0x10000) {
            *target++ = static_cast<char>(0xE0 | codePoint >> 12);
            following(6);
            following(0);
        } else {
            *target++ = static_cast<char>(0xF0 | codePoint >> 18);
            following(12);
            following(6);
            following(0);
        }
    }
    return target;
}

void Append(std::string& target, std::u16string_view units) {
    const std::size_t before = target.size();
    target.resize(before + CountBytes(units));
    Encode(units, target.data() + before);
}

} // namespace System::Utf
