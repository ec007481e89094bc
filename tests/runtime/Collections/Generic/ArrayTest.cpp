// SPDX-License-Identifier: Apache-2.0
#include <System/Collections/Generic/Array.h>

#include <climits>
#include <cstdint>
#include <memory>
#include <stdexcept>

#include <gtest/gtest.h>

#include "tests/runtime/Collections/Generic/Counted.h"
#include "tests/support/AllocationFailure.h"
#include "tests/support/ExpectException.h"

namespace {

using namespace System;
using namespace System::Collections::Generic;
using TestSupport::Counted;

// Counts its instances; the constructor throws when fuse reaches 0.
struct Fused {
    Fused() {
        if (--fuse == 0)
            throw std::runtime_error("burnt down");
        ++live;
    }
    Fused(const Fused&) : Fused() {}
    ~Fused() { --live; }
    inline static int live = 0;
    inline static int fuse = 0;
};

struct alignas(64) Wide {
    char byte = 1;
};

TEST(Array, MakesItsElementsAsTheirTypeDoes) {
    const auto numbers = Array<int>::Create(3);
    const auto texts = Array<string_ptr>::Create(2);

    EXPECT_EQ(numbers->ToString(), "[0, 0, 0]");
    EXPECT_FALSE((*texts)[0] || (*texts)[1]);
    EXPECT_EQ(Array<int>::Create(0)->Length(), 0);
}

TEST(Array, RejectsANegativeLength) {
    TestSupport::ExpectException<ArgumentOutOfRangeException>(
        "The argument \"length\" is -1 and must not be less than zero", [] { Array<int>::Create(-1); });
    EXPECT_THROW(Array<char>::Create(INT_MIN), ArgumentOutOfRangeException);
}

TEST(Array, CopiesTheGivenElements) {
    const auto numbers = Array<int>::Create({3, 1, 2});

    EXPECT_EQ(numbers->Length(), 3);
    EXPECT_EQ((*numbers)[0], 3);
    EXPECT_EQ((*numbers)[2], 2);
    EXPECT_EQ(Array<int>::Create({})->Length(), 0);
}

TEST(Array, GivesItsElementsToBeChanged) {
    const std::shared_ptr<IArray<int>> numbers = Array<int>::Create({1, 2, 3});

    (*numbers)[1] = 20;
    numbers->Data()[2] = 30;
    for (int& number : *numbers)
        ++number;

    EXPECT_EQ(numbers->ToString(), "[2, 21, 31]");
}

TEST(Array, RejectsAnIndexOutside) {
    const std::shared_ptr<IArray<int>> numbers = Array<int>::Create({1, 2, 3});

    for (const int index : {-1, 3, INT_MAX, INT_MIN})
        TestSupport::ExpectException<ArgumentOutOfRangeException>("The argument \"index\" is out of range",
                                                                  [&] { (*numbers)[index] = 0; });
}

TEST(Array, HasRealElementsForBool) {
    const auto flags = Array<bool>::Create({true, false});

    bool* second = &(*flags)[1];
    *second = true;

    EXPECT_EQ(flags->ToString(), "[true, true]");
    EXPECT_EQ(second, flags->Data() + 1);
}

TEST(Array, HoldsMoveOnlyAndWideElements) {
    const auto pointers = Array<std::unique_ptr<int>>::Create(2);
    const auto wide = Array<Wide>::Create(3);

    (*pointers)[0] = std::make_unique<int>(5);

    EXPECT_EQ(*(*pointers)[0], 5);
    EXPECT_EQ((*pointers)[1], nullptr);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(wide->Data()) % 64, 0u);
    EXPECT_EQ((*wide)[2].byte, 1);
}

TEST(Array, DestroysEveryElementOnce) {
    auto elements = Array<Counted>::Create({Counted(1), Counted(2), Counted(3)});
    EXPECT_EQ(Counted::live, 3);

    elements.reset();

    EXPECT_EQ(Counted::live, 0);
}

TEST(Array, LeavesNothingBehindWhenAnElementCannotBeMade) {
    for (int fuse = 1; fuse <= 3; ++fuse) {
        Fused::fuse = fuse;
        EXPECT_THROW(Array<Fused>::Create(3), std::runtime_error);
        EXPECT_EQ(Fused::live, 0);
    }
    for (int failing = 4; failing <= 6; ++failing) { // the first three go into the initializer list
        Counted::copiesUntilFailure = failing - 3;
        EXPECT_THROW(Array<Counted>::Create({Counted(1), Counted(2), Counted(3)}), std::runtime_error);
        EXPECT_EQ(Counted::live, 0);
    }
    Counted::copiesUntilFailure = 0;
}

TEST(Array, ShowsTextsNumbersAndObjects) {
    const std::shared_ptr<Object> object = Array<int>::Create({7});

    EXPECT_EQ(Array<string_ptr>::Create({"a", "", nullptr})->ToString(), "[a, , null]");
    EXPECT_EQ(Array<unsigned char>::Create({0, 255})->ToString(), "[0, 255]");
    EXPECT_EQ(Array<std::shared_ptr<Object>>::Create({object, nullptr})->ToString(), "[[7], null]");
    EXPECT_EQ(Array<int>::Create(0)->ToString(), "[]");
    EXPECT_EQ(Array<int>::Create({1})->ToString(), "[1]");
}

TEST(Array, SurvivesEveryAllocationFailure) {
    const long allocations = TestSupport::FailEachAllocation([] {
        const auto texts = Array<string_ptr>::Create({"one", "two"});
        EXPECT_EQ(Array<string_ptr>::Create(4)->Length(), 4);
        EXPECT_EQ(texts->ToString(), "[one, two]");
    });

    EXPECT_GT(allocations, 10);
}

} // namespace
