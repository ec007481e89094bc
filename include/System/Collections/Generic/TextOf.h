// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <type_traits>
#include <typeinfo>

#include <System/Convert.h>
#include <System/Export.h>
#include <System/Object.h>
#include <System/String.h>

namespace System {

namespace Detail {

// The shortest text that reads back as the same number.
SYSTEM_EXPORT string_ptr TextOfNumber(float value);
SYSTEM_EXPORT string_ptr TextOfNumber(double value);
SYSTEM_EXPORT string_ptr TextOfNumber(long double value);

// The type's name as it is written in code, such as "System::TimeSpan".
SYSTEM_EXPORT string_ptr TextOfType(const std::type_info& type);

} // namespace Detail

namespace Collections::Generic {

// The text of an element or a key of a collection, for messages and for ToString: a text, of any type that a string_ptr
// is made from, is itself ("null" for a null one), a number its decimal digits, an enumerator its number, an object its
// ToString(), anything else the name of its type. Any thread that may read the element.
template <class T>
string_ptr TextOf(const T& value) {
    if constexpr (std::is_same_v<T, string_ptr>)
        return value ? value : string_ptr("null");
    else if constexpr (std::is_constructible_v<string_ptr, const T&>)
        return TextOf(string_ptr(value));
    else if constexpr (std::is_same_v<T, bool>)
        return value ? "true" : "false";
    else if constexpr (std::is_integral_v<T>)
        return Convert::ToString(value);
    else if constexpr (std::is_floating_point_v<T>)
        return Detail::TextOfNumber(value);
    else if constexpr (std::is_enum_v<T>)
        return Convert::ToString(static_cast<std::underlying_type_t<T>>(value));
    else if constexpr (std::is_convertible_v<const T&, std::shared_ptr<Object>>) {
        std::shared_ptr<Object> object = value;
        return object ? object->ToString() : string_ptr("null");
    } else
        return Detail::TextOfType(typeid(T));
}

} // namespace Collections::Generic

} // namespace System
