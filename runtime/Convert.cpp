// SPDX-License-Identifier: Apache-2.0
#include <System/Convert.h>

#include <charconv>
#include <string>
#include <string_view>
#include <system_error>

#include <System/Exceptions.h>
#include <System/Raisers.h>

#include "runtime/Escape.h"

namespace System {

namespace {

void CheckBase(int base) {
    if (base != 10 && base != 16)
        throw ArgumentException("The base must be 10 or 16");
}

template <class Failure>
[[noreturn]] void Raise(const string_ptr& text, const char* complaint) {
    std::string message = "\"";
    AppendEscaped(message, text->View());
    throw Failure(message + "\" " + complaint);
}

template <class Number>
Number Read(const string_ptr& text, int base) {
    if (!text)
        _throw_argument_null_exception("text");
    CheckBase(base);
    const std::string utf8 = text->ToUtf8();
    std::string_view digits = utf8;
    if (base == 16 && (digits.starts_with("0x") || digits.starts_with("0X")))
        digits.remove_prefix(2);

    Number number = 0;
    const char* const end = digits.data() + digits.size();
    const std::from_chars_result result = std::from_chars(digits.data(), end, number, base);
    // A text that is no number at all is reported as that before one that is too great.
    if (result.ptr != end || result.ec == std::errc::invalid_argument)
        Raise<FormatException>(text, base == 10 ? "is not a decimal number" : "is not a hexadecimal number");
    if (result.ec != std::errc())
        Raise<OverflowException>(text, "does not fit into 64 bits");
    return number;
}

template <class Number>
string_ptr Write(Number value, int base) {
    char digits[20]; // -9223372036854775808
    const std::to_chars_result result = std::to_chars(digits, digits + sizeof digits, value, base);
    return std::string_view(digits, static_cast<std::size_t>(result.ptr - digits));
}

} // namespace

long long Convert::ToInt64(string_ptr text, int base) {
    return base == 16 ? static_cast<long long>(Read<unsigned long long>(text, base)) : Read<long long>(text, base);
}

unsigned long long Convert::ToUInt64(string_ptr text, int base) {
    return Read<unsigned long long>(text, base);
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
