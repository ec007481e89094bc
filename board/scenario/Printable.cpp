// SPDX-License-Identifier: Apache-2.0
#include "board/scenario/Printable.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>

namespace VelrixBoard {

namespace {

// By the lead byte: the length of the UTF-8 sequence, the payload bits of that byte, and the smallest code point that
// needs the length.
constexpr struct {
    unsigned char mask;
    unsigned char lead;
    std::size_t length;
    std::uint32_t least;
} FORMS[] = {{0x80, 0x00, 1, 0}, {0xE0, 0xC0, 2, 0x80}, {0xF0, 0xE0, 3, 0x800}, {0xF8, 0xF0, 4, 0x10000}};

constexpr std::size_t INVALID = 0;

bool IsSurrogate(std::uint32_t number) {
    return number >= 0xD800 && number < 0xE000;
}

// Terminals interpret the C1 control characters too, and XML does not allow U+FFFE and U+FFFF.
bool IsShown(std::uint32_t number) {
    const bool isControl = number < 0x20 || (number >= 0x7F && number < 0xA0);
    return number == '\t' || (!isControl && number != 0xFFFE && number != 0xFFFF);
}

// The length of the character at the beginning of the text, which is not empty, if it can be shown.
std::size_t LengthOfShown(std::string_view text) {
    const auto first = static_cast<unsigned char>(text[0]);
    for (const auto& form : FORMS) {
        if ((first & form.mask) != form.lead)
            continue;
        if (text.size() < form.length)
            return INVALID;
        std::uint32_t number = first & ~form.mask & 0xFF;
        for (const char c : text.substr(1, form.length - 1)) {
            if ((static_cast<unsigned char>(c) & 0xC0) != 0x80)
                return INVALID;
            number = number << 6 | (static_cast<unsigned char>(c) & 0x3F);
        }
        const bool isCharacter = number >= form.least && number <= 0x10FFFF && !IsSurrogate(number);
        return isCharacter && IsShown(number) ? form.length : INVALID;
    }
    return INVALID;
}

} // namespace

std::string Printable(std::string_view text) {
    std::string printable;
    while (!text.empty()) {
        const std::size_t length = LengthOfShown(text);
        if (length != INVALID) {
            printable += text.substr(0, length);
        } else if (text[0] == '\n') {
            printable += "\\n";
        } else {
            char code[8];
            std::snprintf(code, sizeof code, "\\x%02X", static_cast<unsigned>(static_cast<unsigned char>(text[0])));
            printable += code;
        }
        text.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return printable;
}

} // namespace VelrixBoard
