// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstring>

namespace TestSupport {

// The place of a virtual operation in the table of its class, counted from 0; -1 for an operation that is not virtual.
//
// As the C++ ABI of GCC and Clang lays out a pointer to a member function: the offset into the table, marked as such by
// the lowest bit of this word or, on ARM, where that bit of a function's address means something else, of the second
// one.
template <class Member>
int SlotOf(Member member) {
    static_assert(sizeof(Member) == 2 * sizeof(std::ptrdiff_t));
    std::ptrdiff_t words[2];
    std::memcpy(words, &member, sizeof words);
#if defined(__arm__) || defined(__aarch64__)
    const bool isVirtual = words[1] & 1;
    const std::ptrdiff_t offset = words[0];
#else
    const bool isVirtual = words[0] & 1;
    const std::ptrdiff_t offset = words[0] - 1;
#endif
    return isVirtual ? static_cast<int>(offset / static_cast<std::ptrdiff_t>(sizeof(void*))) : -1;
}

} // namespace TestSupport
