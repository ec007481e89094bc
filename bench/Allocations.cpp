// SPDX-License-Identifier: Apache-2.0
#include "bench/Allocations.h"

#include <cstddef>
#include <cstdlib>
#include <new>

long long Bench::allocations = 0;

// Counting is all that these two add.
void* operator new(std::size_t size) {
    ++Bench::allocations;
    if (void* memory = std::malloc(size))
        return memory;
    throw std::bad_alloc();
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
