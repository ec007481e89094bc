// SPDX-License-Identifier: Apache-2.0
#include <velrix/config/CharacterClasses.h>

#include "config/CharacterSet.h"

namespace Velrix {

bool is_letter(unsigned short c) noexcept {
    return LETTER.Contains(c);
}

bool is_letter_or_digit(unsigned short c) noexcept {
    return LETTER_OR_DIGIT.Contains(c);
}

bool is_whitespace(unsigned short c) noexcept {
    return WHITESPACE.Contains(c);
}

bool is_newline(unsigned short c) noexcept {
    return NEWLINE.Contains(c);
}

bool is_end_of_file(int c) noexcept {
    return END_OF_FILE.Contains(c);
}

bool is_comment(unsigned short c) noexcept {
    return COMMENT_MARK.Contains(c);
}

bool is_beginning_of_section(unsigned short c) noexcept {
    return BEGINNING_OF_SECTION.Contains(c);
}

bool is_end_of_section(unsigned short c) noexcept {
    return END_OF_SECTION.Contains(c);
}

bool is_beginning_of_key(unsigned short c) noexcept {
    return BEGINNING_OF_KEY.Contains(c);
}

bool is_key_char(unsigned short c) noexcept {
    return KEY_CHAR.Contains(c);
}

bool is_end_of_key(unsigned short c) noexcept {
    return END_OF_KEY.Contains(c);
}

bool is_quote(unsigned short c) noexcept {
    return QUOTE.Contains(c);
}

bool is_escape(unsigned short c) noexcept {
    return ESCAPE.Contains(c);
}

bool is_value_char(unsigned short c) noexcept {
    return VALUE_CHAR.Contains(c);
}

} // namespace Velrix
