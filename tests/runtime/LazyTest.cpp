// SPDX-License-Identifier: Apache-2.0
#include <System/Lazy.h>

#include <atomic>
#include <latch>
#include <memory>
#include <new>
#include <stdexcept>
#include <thread>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include <System/CallbackFunc.h>
#include <System/LambdaFunc.h>

#include "tests/support/AllocationFailure.h"
#include "tests/support/ExpectException.h"
#include "tests/support/Share.h"

namespace {

using namespace System;

static_assert(!std::is_copy_constructible_v<Lazy<int>> && !std::is_move_constructible_v<Lazy<int>>);

int staticCalls = 0;
Lazy<int> INSTANCE{CallbackFunc<int>::Create([] { return ++staticCalls; })};

TEST(Lazy, RunsTheFactoryOnFirstUseAndOnce) {
    EXPECT_FALSE(INSTANCE.IsValueCreated());
    EXPECT_EQ(staticCalls, 0);

    const int& first = INSTANCE.Value();
    const int& second = INSTANCE.Value();

    EXPECT_EQ(first, 1);
    EXPECT_EQ(&first, &second);
    EXPECT_EQ(staticCalls, 1);
    EXPECT_TRUE(INSTANCE.IsValueCreated());
}

TEST(Lazy, CanBeShared) {
    const std::shared_ptr<Lazy<string_ptr>> lazy =
        Lazy<string_ptr>::Create(LambdaFunc<string_ptr>::Create([] { return string_ptr("made"); }));

    EXPECT_FALSE(lazy->IsValueCreated());
    EXPECT_EQ(lazy->Value(), "made");
}

TEST(Lazy, RejectsANullFactory) {
    const std::string message = "The argument \"factory\" must not be null";

    TestSupport::ExpectException<ArgumentNullException>(message, [] { Lazy<int> lazy(nullptr); });
    TestSupport::ExpectException<ArgumentNullException>(message, [] { Lazy<int>::Create(nullptr); });
}

TEST(Lazy, StaysEmptyWhenTheFactoryThrowsAndTriesAgain) {
    int calls = 0;
    Lazy<int> lazy(LambdaFunc<int>::Create([&]() -> int {
        if (++calls < 3)
            throw TimeoutException("not yet");
        return calls;
    }));

    for (int attempt = 1; attempt < 3; ++attempt) {
        TestSupport::ExpectException<TimeoutException>("not yet", [&] { lazy.Value(); });
        EXPECT_FALSE(lazy.IsValueCreated());
        EXPECT_EQ(calls, attempt);
    }

    EXPECT_EQ(lazy.Value(), 3);
    EXPECT_EQ(lazy.Value(), 3);
}

TEST(Lazy, RefusesAFactoryThatAsksItsOwnHolder) {
    Lazy<int>* holder = nullptr;
    int calls = 0;
    Lazy<int> lazy(LambdaFunc<int>::Create([&] { return ++calls == 1 ? holder->Value() : 5; }));
    holder = &lazy;

    TestSupport::ExpectException<InvalidOperationException>(
        "The factory of a lazy value asked for the value that it is making", [&] { lazy.Value(); });

    EXPECT_FALSE(lazy.IsValueCreated());
    EXPECT_EQ(lazy.Value(), 5);
}

TEST(Lazy, LetsAFactoryAskAnotherHolder) {
    Lazy<int> inner(LambdaFunc<int>::Create([] { return 2; }));
    Lazy<int> outer(LambdaFunc<int>::Create([&] { return inner.Value() + 1; }));

    EXPECT_EQ(outer.Value(), 3);
}

TEST(Lazy, HoldsValuesThatOnlyMoveAndHaveNoDefault) {
    struct Engine {
        explicit Engine(std::unique_ptr<int> ownPower) : power(std::move(ownPower)) {}
        std::unique_ptr<int> power;
    };
    Lazy<Engine> lazy(LambdaFunc<Engine>::Create([] { return Engine(std::make_unique<int>(9)); }));

    EXPECT_EQ(*lazy.Value().power, 9);
}

TEST(Lazy, DestroysTheValueAndLetsTheFactoryGoWithItself) {
    const auto made = std::make_shared<int>(1);
    const auto captured = std::make_shared<int>(2);
    {
        Lazy<std::shared_ptr<int>> lazy(LambdaFunc<std::shared_ptr<int>>::Create([made, captured] { return made; }));
        EXPECT_EQ(*lazy.Value(), 1);
        EXPECT_EQ(made.use_count(), 3);
    }
    EXPECT_EQ(made.use_count(), 1);
    EXPECT_EQ(captured.use_count(), 1);
}

TEST(Lazy, GivesSixteenThreadsTheSameValueMadeOnce) {
    for (int round = 0; round <= 50 / TestSupport::Share(); ++round) {
        std::atomic<int> calls{0};
        std::latch start(16);
        // Not atomic: only the holder synchronises it.
        int made = 0;
        Lazy<const int*> lazy(LambdaFunc<const int*>::Create([&] {
            ++calls;
            made = 77;
            return &made;
        }));
        std::vector<std::thread> threads;
        for (int i = 0; i < 16; ++i)
            threads.emplace_back([&] {
                start.arrive_and_wait();
                EXPECT_EQ(*lazy.Value(), 77);
                EXPECT_TRUE(lazy.IsValueCreated());
            });
        for (std::thread& thread : threads)
            thread.join();
        EXPECT_EQ(calls, 1);
    }
}

TEST(Lazy, LetsTheNextThreadTryWhereOneFailed) {
    std::atomic<int> calls{0}, failures{0};
    Lazy<int> lazy(LambdaFunc<int>::Create([&]() -> int {
        if (++calls <= 5)
            throw std::runtime_error("not yet");
        return 1;
    }));
    std::vector<std::thread> threads;

    for (int i = 0; i < 16; ++i)
        threads.emplace_back([&] {
            try {
                EXPECT_EQ(lazy.Value(), 1);
            } catch (const std::runtime_error&) {
                ++failures;
            }
        });
    for (std::thread& thread : threads)
        thread.join();

    EXPECT_EQ(calls, 6);
    EXPECT_EQ(failures, 5);
}

TEST(Lazy, SurvivesEveryAllocationFailure) {
    const long allocations = TestSupport::FailEachAllocation([] {
        const string_ptr expected = "made";
        const auto lazy = Lazy<string_ptr>::Create(LambdaFunc<string_ptr>::Create([] { return string_ptr("made"); }));
        try {
            EXPECT_EQ(lazy->Value(), expected);
        } catch (const std::bad_alloc&) {
            EXPECT_FALSE(lazy->IsValueCreated());
            EXPECT_EQ(lazy->Value(), expected);
            throw;
        }
    });

    EXPECT_GT(allocations, 3);
}

} // namespace
