// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>

// 1 where memory that is not given back is noticed. The thread sanitizer insists on its own operators, and what the
// standard library allocates inside of itself then does not count, but may be freed here.
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
// A test program that names this class gets its operator new, which also counts. Allocations of other threads neither
// fail nor count. Only one at a time lives in a thread. Number 0 lets none fail, for a test that only wants to count.
class AllocationFailure final {
public:
    explicit AllocationFailure(long number = 0) noexcept;
    AllocationFailure(const AllocationFailure&) = delete;
    AllocationFailure& operator=(const AllocationFailure&) = delete;
    ~AllocationFailure();

    // The allocations since construction, the failed one included.
    long Count() const noexcept;

    // Whether the one that was to fail has come.
    bool HasFailed() const noexcept;
};

// Runs the operation again and again, the first allocation failing, then the second, until it gets by without a
// failure; returns how many allocations that took. Each of the failing runs may pass std::bad_alloc out or cope; any
// other exception passes on to the test, and memory that a failing run keeps fails the test. The operation must begin
// anew each time: what it changes, it must own. A first run that is not held against anything makes what is made once
// and kept.
long FailEachAllocation(const std::function<void()>& operation);

} // namespace TestSupport
