// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>

// 1 where leaks are detected. With the thread sanitizer's operators, allocations inside the standard library do not
// count, but may be freed here.
#ifndef __has_feature
#define __has_feature(feature) 0
#endif
#if defined(__SANITIZE_THREAD__) || __has_feature(thread_sanitizer)
#define VELRIX_COUNTS_LIVE_BLOCKS 0
#else
#define VELRIX_COUNTS_LIVE_BLOCKS 1
#endif

namespace TestSupport {

// Lets one allocation of the calling thread fail: the number-th one from now on throws std::bad_alloc, all others
// succeed.
//
// A test program that uses this class gets its operator new, which also counts. Allocations of other threads neither
// fail nor count. At most one object per thread. Number 0 fails none, to only count.
class AllocationFailure final {
public:
    explicit AllocationFailure(long number = 0) noexcept;
    AllocationFailure(const AllocationFailure&) = delete;
    AllocationFailure& operator=(const AllocationFailure&) = delete;
    ~AllocationFailure();

    // The allocations since construction, the failed one included.
    long Count() const noexcept;

    // Whether an allocation has failed.
    bool HasFailed() const noexcept;
};

// Repeats the operation, failing the first allocation, then the second, until a run succeeds; returns its number of
// allocations. A failing run may throw std::bad_alloc or recover; any other exception passes on to the test, and a leak
// fails the test. The operation must be repeatable. A warm-up run first creates lazily made singletons; its allocations
// are not counted.
long FailEachAllocation(const std::function<void()>& operation);

} // namespace TestSupport
