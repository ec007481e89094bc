// SPDX-License-Identifier: Apache-2.0
#include <System/CallbackDualArgFunc.h>

#include <memory>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include <System/Exceptions.h>

#include "tests/support/AllocationFailure.h"
#include "tests/support/ExpectException.h"

namespace {

using namespace System;

TEST(CallbackDualArgFunc, HandsBothArgumentsOnInOrder) {
    const std::shared_ptr<IDualArgFunc<int, int, int>> subtract =
        CallbackDualArgFunc<int, int, int>::Create([](int first, int second) { return first - second; });

    EXPECT_EQ(subtract->Invoke(7, 3), 4);
}

TEST(CallbackDualArgFunc, HandsReferencesOn) {
    const auto append = CallbackDualArgFunc<std::string&, const std::string&, void>::Create(
        [](std::string& target, const std::string& piece) { target += piece; });
    std::string target = "a";

    append->Invoke(target, "b");

    EXPECT_EQ(target, "ab");
}

TEST(CallbackDualArgFunc, MovesWhatItIsGivenByValue) {
    const auto sum = CallbackDualArgFunc<std::unique_ptr<int>, std::unique_ptr<int>, int>::Create(
        [](std::unique_ptr<int> first, std::unique_ptr<int> second) { return *first + *second; });

    EXPECT_EQ(sum->Invoke(std::make_unique<int>(2), std::make_unique<int>(3)), 5);
}

TEST(CallbackDualArgFunc, RejectsNull) {
    TestSupport::ExpectException<ArgumentNullException>("The argument \"callback\" must not be null",
                                                        [] { CallbackDualArgFunc<int, int, int>::Create(nullptr); });
}

TEST(CallbackDualArgFunc, SurvivesEveryAllocationFailure) {
    EXPECT_GT(TestSupport::FailEachAllocation([] { CallbackDualArgFunc<int, int, void>::Create([](int, int) {}); }), 0);
}

} // namespace
