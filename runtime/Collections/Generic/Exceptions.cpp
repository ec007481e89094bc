// SPDX-License-Identifier: Apache-2.0
#include <System/Collections/Generic/Exceptions.h>

#include <utility>

namespace System::Collections::Generic {

// Out of line, so that this library alone holds the table and the type information.
KeyNotFoundException::~KeyNotFoundException() = default;

void _throw_key_not_found_exception(string_ptr key) {
    throw KeyNotFoundException(std::move(key));
}

void _throw_key_exists_exception() {
    throw ArgumentException("Key already exists");
}

} // namespace System::Collections::Generic
