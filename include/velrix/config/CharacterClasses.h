// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <velrix/Export.h>

namespace Velrix {

// The character classes of settings files. They take one code unit, ignore the locale, and hold nothing above 0x7F. Any
// thread.

// "A" to "Z", "a" to "z".
VELRIX_EXPORT bool is_letter(unsigned short c) noexcept;

// A letter, or "0" to "9".
VELRIX_EXPORT bool is_letter_or_digit(unsigned short c) noexcept;

// Space, tab, vertical tab, form feed and carriage return: not the newline.
VELRIX_EXPORT bool is_whitespace(unsigned short c) noexcept;

// 0x0A alone.
VELRIX_EXPORT bool is_newline(unsigned short c) noexcept;

// Whether a stream's ReadByte gave -1, its end.
VELRIX_EXPORT bool is_end_of_file(int c) noexcept;

// "#".
VELRIX_EXPORT bool is_comment(unsigned short c) noexcept;

// "[".
VELRIX_EXPORT bool is_beginning_of_section(unsigned short c) noexcept;

// "]".
VELRIX_EXPORT bool is_end_of_section(unsigned short c) noexcept;

// "_" or a letter.
VELRIX_EXPORT bool is_beginning_of_key(unsigned short c) noexcept;

// "_", a letter or a digit.
VELRIX_EXPORT bool is_key_char(unsigned short c) noexcept;

// "=".
VELRIX_EXPORT bool is_end_of_key(unsigned short c) noexcept;

// The double quote.
VELRIX_EXPORT bool is_quote(unsigned short c) noexcept;

// The backslash.
VELRIX_EXPORT bool is_escape(unsigned short c) noexcept;

// "+", "-", ".", "/", a letter or a digit: what a value may hold outside of quotes. Not "_".
VELRIX_EXPORT bool is_value_char(unsigned short c) noexcept;

} // namespace Velrix
