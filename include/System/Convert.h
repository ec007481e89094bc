// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <type_traits>

#include <System/Export.h>
#include <System/String.h>

namespace System {

// Numbers from text and text from numbers, in base 10 or 16; any other base: ArgumentException.
//
// Strict: a text is digits alone, hexadecimal ones in either case and with an optional "0x" or "0X" before them.
// Everything else (an empty text, blanks, a line end, a sign elsewhere) throws FormatException, whose message shows the
// text with its control characters escaped. A null text: ArgumentNullException. Ignores the locale. Any thread.
class SYSTEM_EXPORT Convert final {
public:
    Convert() = delete;

    // Base 10 accepts a leading "-"; base 16 up to 16 significant digits as the bit pattern of the result. Outside of
    // 64 bits: OverflowException.
    static long long ToInt64(string_ptr text, int base = 10);

    // No sign. Outside of 64 bits: OverflowException.
    static unsigned long long ToUInt64(string_ptr text, int base = 10);

    // Lower case, no prefix, no padding. A byte is a number like any other; a negative number in base 16 is its bit
    // pattern of 64 bits.
    template <class Number>
    static string_ptr ToString(Number value, int base = 10) {
        static_assert(std::is_integral_v<Number>, "Convert::ToString takes integers");
        if constexpr (std::is_signed_v<Number>)
            return FromSigned(value, base);
        else
            return FromUnsigned(value, base);
    }

private:
    static string_ptr FromSigned(long long value, int base);
    static string_ptr FromUnsigned(unsigned long long value, int base);
};

} // namespace System
