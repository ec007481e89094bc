// SPDX-License-Identifier: Apache-2.0
#include "runtime/Utf.h"

#include <cstdint>
#include <cstring>

namespace System::Utf {

namespace {

// What a lead byte above ASCII promises: how many bytes follow it and in which range the first of them must lie. The
// narrowed ranges keep out overlong forms (E0, F0), surrogates (ED) and what is beyond U+10FFFF (F4). All later ones
// lie in 80 to BF.
struct Lead {
    int following; // -1: no sequence begins with this byte
    unsigned char lowest = 0x80;
    unsigned char highest = 0xBF;
};

Lead ReadLead(unsigned char byte) noexcept {
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

struct Taken {
    char32_t codePoint;
    std::size_t length;
};

// Reads the code point, or the ill-formed part as REPLACEMENT, that utf8 begins with, which does not begin with ASCII.
Taken Take(std::string_view utf8) noexcept {
    const auto first = static_cast<unsigned char>(utf8.front());
    const Lead lead = ReadLead(first);
    if (lead.following < 0)
        return {REPLACEMENT, 1};
    // The lead byte carries 5, 4 or 3 bits below its length mark.
    char32_t codePoint = first & (0x3Fu >> lead.following);
    unsigned char lowest = lead.lowest, highest = lead.highest;
    std::size_t length = 1;
    for (; length <= static_cast<std::size_t>(lead.following); ++length) {
        if (length == utf8.size())
            return {REPLACEMENT, length};
        const auto next = static_cast<unsigned char>(utf8[length]);
        if (next < lowest || next > highest)
            return {REPLACEMENT, length};
        codePoint = codePoint << 6 | (next & 0x3Fu);
        lowest = 0x80;
        highest = 0xBF;
    }
    return {codePoint, length};
}

// Most text is ASCII, checked and copied in strides of so many characters.
constexpr std::size_t STRIDE = 8;

// Whether text, which has bytes or code units, begins with STRIDE characters of ASCII.
template <class Unit>
bool BeginsWithAscii(std::basic_string_view<Unit> text) noexcept {
    constexpr std::uint64_t HIGH_BITS = sizeof(Unit) == 1 ? 0x8080808080808080 : 0xFF80FF80FF80FF80;
    if (text.size() < STRIDE)
        return false;
    std::uint64_t words[sizeof(Unit)], all = 0;
    std::memcpy(words, text.data(), sizeof words);
    for (const std::uint64_t word : words)
        all |= word;
    return (all & HIGH_BITS) == 0;
}

// Copies STRIDE characters through local arrays, whose lengths and lack of aliasing the compiler knows. Inlined: a call
// would set up a stack guard.
template <class To, class From>
[[gnu::always_inline]] inline void CopyStride(const void* source, To* target) noexcept {
    From from[STRIDE];
    To to[STRIDE];
    std::memcpy(from, source, sizeof from);
    for (std::size_t i = 0; i < STRIDE; ++i)
        to[i] = static_cast<To>(from[i]);
    std::memcpy(target, to, sizeof to);
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
        if (BeginsWithAscii(utf8)) {
            count += STRIDE;
            utf8.remove_prefix(STRIDE);
        } else if (static_cast<unsigned char>(utf8.front()) < 0x80) {
            ++count;
            utf8.remove_prefix(1);
        } else {
            const Taken taken = Take(utf8);
            count += taken.codePoint > 0xFFFF ? 2 : 1;
            utf8.remove_prefix(taken.length);
        }
    return count;
}

char16_t* Decode(std::string_view utf8, char16_t* target) noexcept {
    while (!utf8.empty())
        if (BeginsWithAscii(utf8)) {
            CopyStride<char16_t, unsigned char>(utf8.data(), target);
            target += STRIDE;
            utf8.remove_prefix(STRIDE);
        } else if (const auto first = static_cast<unsigned char>(utf8.front()); first < 0x80) {
            *target++ = first;
            utf8.remove_prefix(1);
        } else {
            const auto [codePoint, length] = Take(utf8);
            if (codePoint > 0xFFFF) {
                *target++ = static_cast<char16_t>(0xD800 + ((codePoint - 0x10000) >> 10));
                *target++ = static_cast<char16_t>(0xDC00 + (codePoint & 0x3FF));
            } else
                *target++ = static_cast<char16_t>(codePoint);
            utf8.remove_prefix(length);
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
        if (BeginsWithAscii(units)) {
            count += STRIDE;
            units.remove_prefix(STRIDE);
            continue;
        }
        if (units.front() < 0x80) {
            ++count;
            units.remove_prefix(1);
            continue;
        }
        const char32_t codePoint = TakeCodePoint(units);
        count += codePoint < 0x800 ? 2 : codePoint < 0x10000 ? 3 : 4;
    }
    return count;
}

char* Encode(std::u16string_view units, char* target) noexcept {
    while (!units.empty()) {
        if (BeginsWithAscii(units)) {
            CopyStride<char, char16_t>(units.data(), target);
            target += STRIDE;
            units.remove_prefix(STRIDE);
            continue;
        }
        if (units.front() < 0x80) {
            *target++ = static_cast<char>(units.front());
            units.remove_prefix(1);
            continue;
        }
        const char32_t codePoint = TakeCodePoint(units);
        // A byte that begins a sequence carries its length mark, all others carry six bits of the code point.
        const auto following = [&](int shift) { *target++ = static_cast<char>(0x80 | (codePoint >> shift & 0x3F)); };
        if (codePoint < 0x800) {
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

bool IsAscii(std::string_view bytes) noexcept {
    while (BeginsWithAscii(bytes))
        bytes.remove_prefix(STRIDE);
    unsigned char all = 0;
    for (const char byte : bytes.substr(0, STRIDE))
        all |= static_cast<unsigned char>(byte);
    return all < 0x80;
}

void Widen(std::string_view bytes, char16_t* target) noexcept {
    if (bytes.size() < STRIDE) {
        for (const char byte : bytes)
            *target++ = static_cast<unsigned char>(byte);
        return;
    }
    // The rest is copied as a last full stride that overlaps the one before.
    const std::size_t last = bytes.size() - STRIDE;
    for (std::size_t next = 0; next < last; next += STRIDE)
        CopyStride<char16_t, unsigned char>(bytes.data() + next, target + next);
    CopyStride<char16_t, unsigned char>(bytes.data() + last, target + last);
}

void Append(std::string& target, std::u16string_view units) {
    const std::size_t before = target.size();
    target.resize(before + CountBytes(units));
    Encode(units, target.data() + before);
}

} // namespace System::Utf
