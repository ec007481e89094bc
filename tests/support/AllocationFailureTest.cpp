// SPDX-License-Identifier: Apache-2.0
#include "tests/support/AllocationFailure.h"

#include <memory>
#include <new>
#include <thread>

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

namespace {

using TestSupport::AllocationFailure;
using TestSupport::FailEachAllocation;

// Out of line, since a compiler may elide a local allocation.
template <class T>
[[gnu::noinline]] std::unique_ptr<T> Make() {
    return std::make_unique<T>();
}

[[gnu::noinline]] std::unique_ptr<char[]> MakeArray() {
    return std::unique_ptr<char[]>(new char[10]);
}

TEST(AllocationFailure, FailsTheOneAllocationThatItIsToldTo) {
    const AllocationFailure failure(2);

    const auto first = Make<int>();
    EXPECT_FALSE(failure.HasFailed());
    EXPECT_THROW(Make<int>(), std::bad_alloc);
    EXPECT_TRUE(failure.HasFailed());
    const auto third = Make<int>();

    EXPECT_EQ(failure.Count(), 3);
}

TEST(AllocationFailure, FailsArraysAndWideAlignmentsToo) {
    struct alignas(128) Wide {
        char byte;
    };

    EXPECT_EQ(FailEachAllocation([] {
                  const std::unique_ptr<char[]> array = MakeArray();
                  const std::unique_ptr<Wide> wide = Make<Wide>();
              }),
              2);
}

TEST(AllocationFailure, AnswersNullWhereNoExceptionIsWanted) {
    const AllocationFailure failure(1);

    int* const none = new (std::nothrow) int;
    EXPECT_EQ(none, nullptr);
    EXPECT_TRUE(failure.HasFailed());
}

TEST(AllocationFailure, LeavesOtherThreadsAlone) {
    const AllocationFailure failure(100);

    std::thread([] {
        for (int i = 0; i < 200; ++i)
            EXPECT_NE(Make<int>(), nullptr);
    }).join();

    EXPECT_LT(failure.Count(), 100);
}

TEST(AllocationFailure, CountsTheAllocationsOfAnOperation) {
    int runs = 0;

    EXPECT_EQ(FailEachAllocation([&] {
                  ++runs;
                  const std::unique_ptr<int> first = Make<int>(), second = Make<int>();
              }),
              2);
    EXPECT_EQ(runs, 4); // to warm up, each of the two failing, none failing
}

#if VELRIX_COUNTS_LIVE_BLOCKS
TEST(AllocationFailure, NoticesALeak) {
    static int* kept = nullptr;
    static int* leaked = nullptr;

    EXPECT_NONFATAL_FAILURE(FailEachAllocation([] {
                                leaked = kept ? kept : leaked;
                                kept = Make<int>().release();
                                const std::unique_ptr<int> second = Make<int>();
                                delete kept;
                                kept = nullptr;
                            }),
                            "blocks were kept after allocation 2 failed");

    delete leaked;
}
#endif

} // namespace
