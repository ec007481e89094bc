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

void CountOne() {
    if (++allocationCount == failingNumber)
        throw std::bad_alloc();
}

} // namespace

using Size = std::size_t;
using Alignment = std::align_val_t;

#if !VELRIX_COUNTS_LIVE_BLOCKS

// The linker's --wrap redirects this program's calls; allocations inside the standard library neither fail nor count.
extern "C" {
void* __real__Znwm(Size size);
void* __wrap__Znwm(Size size) {
    CountOne();
    return __real__Znwm(size);
}
void* __real__Znam(Size size);
void* __wrap__Znam(Size size) {
    CountOne();
    return __real__Znam(size);
}
void* __real__ZnwmSt11align_val_t(Size size, Alignment alignment);
void* __wrap__ZnwmSt11align_val_t(Size size, Alignment alignment) {
    CountOne();
    return __real__ZnwmSt11align_val_t(size, alignment);
}
void* __real__ZnwmRKSt9nothrow_t(Size size, const std::nothrow_t& nothrow);
void* __wrap__ZnwmRKSt9nothrow_t(Size size, const std::nothrow_t& nothrow) {
    try {
        CountOne();
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
    return __real__ZnwmRKSt9nothrow_t(size, nothrow);
}
}

#else

namespace {

void* Allocate(Size size, Size alignment) {
    CountOne();
    void* block = nullptr;
    // At least one byte: the addresses of two blocks must differ.
    if (alignment <= __STDCPP_DEFAULT_NEW_ALIGNMENT__)
        block = std::malloc(size == 0 ? 1 : size);
    else if (posix_memalign(&block, alignment, size) != 0)
        block = nullptr;
    if (!block)
        throw std::bad_alloc();
    ++liveCount;
    return block;
}

void* AllocateOrNull(Size size) noexcept {
    try {
        return Allocate(size, 1);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

void Free(void* block) noexcept {
    if (block)
        --liveCount;
    std::free(block);
}

} // namespace

// All forms, although the standard library's forward to the first: the address sanitizer defines the missing ones.
void* operator new(Size size) {
    return Allocate(size, 1);
}
void* operator new[](Size size) {
    return Allocate(size, 1);
}
void* operator new(Size size, Alignment alignment) {
    return Allocate(size, static_cast<Size>(alignment));
}
void* operator new[](Size size, Alignment alignment) {
    return Allocate(size, static_cast<Size>(alignment));
}
void* operator new(Size size, const std::nothrow_t&) noexcept {
    return AllocateOrNull(size);
}
void* operator new[](Size size, const std::nothrow_t&) noexcept {
    return AllocateOrNull(size);
}
void operator delete(void* block) noexcept {
    Free(block);
}
void operator delete[](void* block) noexcept {
    Free(block);
}
void operator delete(void* block, Size) noexcept {
    Free(block);
}
void operator delete[](void* block, Size) noexcept {
    Free(block);
}
void operator delete(void* block, Alignment) noexcept {
    Free(block);
}
void operator delete[](void* block, Alignment) noexcept {
    Free(block);
}
void operator delete(void* block, Size, Alignment) noexcept {
    Free(block);
}
void operator delete[](void* block, Size, Alignment) noexcept {
    Free(block);
}
void operator delete(void* block, const std::nothrow_t&) noexcept {
    Free(block);
}
void operator delete[](void* block, const std::nothrow_t&) noexcept {
    Free(block);
}

#endif

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
        EXPECT_TRUE(!VELRIX_COUNTS_LIVE_BLOCKS || liveCount == liveBefore)
            << "blocks were kept after allocation " << number << " failed";
        if (!failed)
            return number - 1;
    }
}

} // namespace TestSupport
