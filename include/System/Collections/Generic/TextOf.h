// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <type_traits>
#include <typeinfo>

#include <System/Convert.h>
#include <System/Object.h>
#include <System/String.h>

namespace System::Collections::Generic {

// The text of an element or a key of a collection, for messages and for ToString: a text is itself ("null" for the null
// handle), a number its decimal digits, an object its ToString(), anything else the name of its type.
template <class T>
string_ptr TextOf(const T& value) {
    if constexpr (std::is_same_v<T, string_ptr>)
        return value ? value : string_ptr("null");
    else if constexpr (std::is_same_v<T, bool>)
        return value ? "true" : "false";
    else if constexpr (std::is_integral_v<T>)
        return Convert::ToString(value);
    else if constexpr (std::is_convertible_v<T, std::shared_ptr<Object>>) {
        std::shared_ptr<Object> object = value;
        return object ? object->ToString() : string_ptr("null");
    } else
        return typeid(T).name();
}

} // namespace System::Collections::Generic
