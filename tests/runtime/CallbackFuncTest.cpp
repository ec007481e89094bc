// SPDX-License-Identifier: Apache-2.0
#include <System/CallbackFunc.h>

#include <memory>

#include <gtest/gtest.h>

#include <System/Exceptions.h>

#include "tests/support/AllocationFailure.h"
#include "tests/support/ExpectException.h"

namespace {

using namespace System;

int calls = 0;

TEST(CallbackFunc, InvokesTheFunctionEachTime) {
    const std::shared_ptr<IFunc<int>> function = CallbackFunc<int>::Create([] { return ++calls; });

    EXPECT_EQ(calls, 0);
    EXPECT_EQ(function->Invoke(), 1);
    EXPECT_EQ(function->Invoke(), 2);
}

TEST(CallbackFunc, YieldsNothingAndReferences) {
    CallbackFunc<void>::Create([] { calls = 7; })->Invoke();
    EXPECT_EQ(calls, 7);

    EXPECT_EQ(&CallbackFunc<int&>::Create([]() -> int& { return calls; })->Invoke(), &calls);
    EXPECT_EQ(*CallbackFunc<std::unique_ptr<int>>::Create([] { return std::make_unique<int>(3); })->Invoke(), 3);
}

TEST(CallbackFunc, RejectsNull) {
    TestSupport::ExpectException<ArgumentNullException>("The argument \"callback\" must not be null",
                                                        [] { CallbackFunc<int>::Create(nullptr); });
}

TEST(CallbackFunc, SurvivesEveryAllocationFailure) {
    EXPECT_GT(TestSupport::FailEachAllocation([] { CallbackFunc<int>::Create([] { return 1; }); }), 0);
}

} // namespace
