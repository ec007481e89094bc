// SPDX-License-Identifier: Apache-2.0
#include "tests/support/AllocationFailure.h"

#include <cstddef>
#include <cstdlib>
#include <new>

#include <gtest/gtest.h>

namespace {

thread_local long failingNumber = 0;
thread_local long allocationCount = 0;
thread_local long liveCount = 0;

void* Allocate(std::size_t size, std::size_t alignment) {
    if (++allocationCount == failingNumber)
        throw std::bad_alloc();
    if (size == 0)
        size = 1;
    void* block = nullptr;
    if (alignment <= __STDCPP_DEFAULT_NEW_ALIGNMENT__)
        block = std::malloc(size);
    else if (posix_memalign(&block, alignment, size) != 0)
        block = nullptr;
    if (!block)
        throw std::bad_alloc();
    ++liveCount;
    return block;
}

void Free(void* block) noexcept {
    if (block)
        --liveCount;
    std::free(block);
}

} // namespace

// The standard library's other forms (arrays, nothrow, sized) come down to these four.
void* operator new(std::size_t size) {
    return Allocate(size, 1);
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    return Allocate(size, static_cast<std::size_t>(alignment));
}
void operator delete(void* block) noexcept {
    Free(block);
}
void operator delete(void* block, std::align_val_t) noexcept {
    Free(block);
}
// Those that take a size as well, though, are warned about when they are left to the library.
void operator delete(void* block, std::size_t) noexcept {
    Free(block);
}
void operator delete(void* block, std::size_t, std::align_val_t) noexcept {
    Free(block);
}

namespace TestSupport {

AllocationFailure::AllocationFailure(long number) noexcept {
    allocationCount = 0;
    failingNumber = number;
}

AllocationFailure::~AllocationFailure() {
    failingNumber = 0;
}

long AllocationFailure::Count() const noexcept {
    return allocationCount;
}

bool AllocationFailure::HasFailed() const noexcept {
    return failingNumber != 0 && allocationCount >= failingNumber;
}

long FailEachAllocation(const std::function<void()>& operation) {
    operation();
    for (long number = 1;; ++number) {
        const long liveBefore = liveCount;
        bool failed = false;
        {
            AllocationFailure failure(number);
            try {
                operation();
            } catch (const std::bad_alloc&) {
                EXPECT_TRUE(failure.HasFailed()) << "std::bad_alloc without a failed allocation";
            }
            failed = failure.HasFailed();
        }
        EXPECT_EQ(liveCount - liveBefore, 0) << "blocks were kept after allocation " << number << " failed";
        if (!failed)
            return number - 1;
    }
}

} // namespace TestSupport
