// SPDX-License-Identifier: Apache-2.0
#include "runtime/SpareAllocator.h"

#include <memory>
#include <new>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/AllocationFailure.h"

namespace {

using System::SpareAllocator;
using TestSupport::AllocationFailure;

struct Sample {
    explicit Sample(int ownValue) noexcept : value(ownValue) {}
    int value;
};

std::shared_ptr<Sample> Make(int value) {
    return std::allocate_shared<Sample>(SpareAllocator<Sample>(), value);
}

TEST(SpareAllocator, GivesTheMemoryOfADroppedObjectToTheNext) {
    Make(1);
    const AllocationFailure allocations;

    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(Make(i)->value, i);

    EXPECT_EQ(allocations.Count(), 0);
}

TEST(SpareAllocator, GivesObjectsThatLiveAtOnceMemoryOfTheirOwn) {
    for (int round = 0; round < 2; ++round) {
        const auto one = Make(1), two = Make(2);

        EXPECT_EQ(one->value, 1);
        EXPECT_EQ(two->value, 2);
    }
}

TEST(SpareAllocator, KeepsNoMoreThanOneBlock) {
    Make(0);
    {
        const AllocationFailure allocations;
        std::vector<std::shared_ptr<Sample>> samples;
        samples.reserve(10);
        for (int i = 0; i < 10; ++i)
            samples.push_back(Make(i));
        EXPECT_EQ(allocations.Count(), 10);
    }

    const auto taken = Make(1);
    const AllocationFailure allocations;
    Make(2);
    EXPECT_EQ(allocations.Count(), 1);
}

TEST(SpareAllocator, PassesMissingMemoryOn) {
    const auto taken = Make(0);
    const AllocationFailure failure(1);

    EXPECT_THROW(Make(1), std::bad_alloc);
}

TEST(SpareAllocator, ServesManyThreads) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([i] {
            for (int round = 0; round < 2000; ++round) {
                const auto one = Make(i), two = Make(-i);
                ASSERT_EQ(one->value, i);
                ASSERT_EQ(two->value, -i);
            }
        });
    for (auto& thread : threads)
        thread.join();
}

TEST(SpareAllocator, IsEqualToAllOfItsKind) {
    EXPECT_TRUE(SpareAllocator<int>() == SpareAllocator<Sample>());
}

} // namespace
