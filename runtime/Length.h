// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdint>

#include <System/Exceptions.h>

namespace System {

// The most code units that one allocation holds beside the object: INT_MAX on a 64-bit machine; on a 32-bit one half of
// the address space, less some room for the object.
inline constexpr std::size_t MAX_LENGTH = std::min<std::size_t>(INT_MAX, (PTRDIFF_MAX - 1024) / sizeof(char16_t));

// A number of elements as the int that the interfaces count in. More than an int or the memory can hold:
// ArgumentOutOfRangeException for the parameter name.
inline int CheckedLength(std::size_t count, const char* name) {
    if (count > MAX_LENGTH)
        throw ArgumentOutOfRangeException(name);
    return static_cast<int>(count);
}

} // namespace System
