// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

namespace System {

// A number of elements as the int that the interfaces count in. More than an int or the memory can hold:
// ArgumentOutOfRangeException for the parameter name.
int CheckedLength(std::size_t count, const char* name);

} // namespace System
