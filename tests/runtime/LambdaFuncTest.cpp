// SPDX-License-Identifier: Apache-2.0
#include <System/LambdaFunc.h>

#include <memory>

#include <gtest/gtest.h>

#include <System/Exceptions.h>

#include "tests/support/AllocationFailure.h"
#include "tests/support/ExpectException.h"

namespace {

using namespace System;

TEST(LambdaFunc, InvokesTheCallableWithItsCaptures) {
    int calls = 0;
    const std::shared_ptr<IFunc<int>> function = LambdaFunc<int>::Create([&calls] { return ++calls; });

    EXPECT_EQ(calls, 0);
    EXPECT_EQ(function->Invoke(), 1);
    EXPECT_EQ(function->Invoke(), 2);
}

TEST(LambdaFunc, KeepsWhatItCapturedUntilItGoes) {
    const auto captured = std::make_shared<int>(5);
    auto function = LambdaFunc<int>::Create([captured] { return *captured; });
    EXPECT_EQ(captured.use_count(), 2);

    function.reset();

    EXPECT_EQ(captured.use_count(), 1);
}

TEST(LambdaFunc, RejectsAnEmptyFunction) {
    TestSupport::ExpectException<ArgumentNullException>("The argument \"function\" must not be null",
                                                        [] { LambdaFunc<int>::Create(nullptr); });
    EXPECT_THROW(LambdaFunc<int>::Create(std::function<int()>()), ArgumentNullException);
}

TEST(LambdaFunc, SurvivesEveryAllocationFailure) {
    const auto captured = std::make_shared<int>(5);

    EXPECT_GT(
        TestSupport::FailEachAllocation([&] { LambdaFunc<int>::Create([captured] { return *captured; })->Invoke(); }),
        0);
    EXPECT_EQ(captured.use_count(), 1);
}

} // namespace
