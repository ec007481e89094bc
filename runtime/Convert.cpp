// SPDX-License-Identifier: Apache-2.0
#include <System/Convert.h>

#include <charconv>
#include <limits>
#include <string>
#include <string_view>

#include <System/Exceptions.h>
#include <System/Raisers.h>

#include "runtime/Escape.h"

namespace System {

namespace {

void CheckBase(int base) {
    if (base != 10 && base != 16)
        throw ArgumentException("The base must be 10 or 16");
}

// The value of a hexadecimal digit, 16 for any other code unit.
unsigned DigitValue(char16_t unit) noexcept {
    if (unit >= u'0' && unit <= u'9')
        return static_cast<unsigned>(unit - u'0');
    const auto lower = static_cast<char16_t>(unit | 0x20);
    if (lower >= u'a' && lower <= u'f')
        return static_cast<unsigned>(lower - u'a') + 10;
    return 16;
}

[[noreturn]] void RaiseFormat(std::u16string_view text, int base) {
    std::string message = "\"";
    AppendEscaped(message, text);
    message += base == 10 ? "\" is not a decimal number" : "\" is not a hexadecimal number";
    throw FormatException(message);
}

[[noreturn]] void RaiseOverflow(std::u16string_view text) {
    std::string message = "\"";
    AppendEscaped(message, text);
    message += "\" does not fit into 64 bits";
    throw OverflowException(message);
}

// Parses digits in the base. text is the complete input, for the messages: FormatException takes precedence over
// OverflowException.
unsigned long long ReadDigits(std::u16string_view digits, int base, std::u16string_view text) {
    if (digits.empty())
        RaiseFormat(text, base);
    unsigned long long value = 0;
    bool fits = true;
    for (const char16_t unit : digits) {
        const unsigned digit = DigitValue(unit);
        if (digit >= static_cast<unsigned>(base))
            RaiseFormat(text, base);
        fits = fits && !__builtin_mul_overflow(value, static_cast<unsigned>(base), &value) &&
               !__builtin_add_overflow(value, digit, &value);
    }
    if (!fits)
        RaiseOverflow(text);
    return value;
}

std::u16string_view WithoutPrefix(std::u16string_view text, int base) noexcept {
    const bool prefixed = base == 16 && (text.starts_with(u"0x") || text.starts_with(u"0X"));
    return prefixed ? text.substr(2) : text;
}

template <class Number>
string_ptr Write(Number value, int base) {
    char digits[20]; // -9223372036854775808
    const std::to_chars_result result = std::to_chars(digits, digits + sizeof digits, value, base);
    return std::string_view(digits, static_cast<std::size_t>(result.ptr - digits));
}

} // namespace

long long Convert::ToInt64(string_ptr text, int base) {
    if (!text)
        _throw_argument_null_exception("text");
    CheckBase(base);
    const std::u16string_view units = text->View();
    if (base == 16)
        return static_cast<long long>(ReadDigits(WithoutPrefix(units, base), base, units));

    const bool negative = units.starts_with(u'-');
    const unsigned long long magnitude = ReadDigits(units.substr(negative ? 1 : 0), base, units);
    constexpr unsigned long long MAX = std::numeric_limits<long long>::max();
    if (magnitude > MAX + (negative ? 1 : 0))
        RaiseOverflow(units);
    return static_cast<long long>(negative ? 0 - magnitude : magnitude);
}

unsigned long long Convert::ToUInt64(string_ptr text, int base) {
    if (!text)
        _throw_argument_null_exception("text");
    CheckBase(base);
    return ReadDigits(WithoutPrefix(text->View(), base), base, text->View());
}

string_ptr Convert::FromSigned(long long value, int base) {
    CheckBase(base);
    return base == 16 ? Write(static_cast<unsigned long long>(value), base) : Write(value, base);
}

string_ptr Convert::FromUnsigned(unsigned long long value, int base) {
    CheckBase(base);
    return Write(value, base);
}

} // namespace System
