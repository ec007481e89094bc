// SPDX-License-Identifier: Apache-2.0
#include <System/Collections/Generic/TextOf.h>

#include <charconv>
#include <string_view>

#include "runtime/TypeName.h"

namespace System::Detail {

namespace {

template <class Number>
string_ptr Write(Number value) {
    char text[64]; // the longest is that of a long double, with 36 digits, sign, point and exponent
    const std::to_chars_result result = std::to_chars(text, text + sizeof text, value);
    return std::string_view(text, static_cast<std::size_t>(result.ptr - text));
}

} // namespace

string_ptr TextOfNumber(float value) {
    return Write(value);
}

string_ptr TextOfNumber(double value) {
    return Write(value);
}

string_ptr TextOfNumber(long double value) {
    return Write(value);
}

string_ptr TextOfType(const std::type_info& type) {
    return TypeName(type.name());
}

} // namespace System::Detail
