// SPDX-License-Identifier: Apache-2.0
#include <System/Diagnostics/TraceEventArgs.h>

#include <memory>
#include <thread>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "tests/support/AllocationFailure.h"
#include "tests/support/ExpectException.h"
#include "tests/support/FakeClock.h"

namespace {

using namespace System;
using System::Diagnostics::TraceEventArgs;
using TestSupport::FakeClock;

TEST(TraceEventArgs, TellsWhenAndWhere) {
    FakeClock clock;

    const auto eventArgs = TraceEventArgs::Create();
    clock.AdvanceMilliseconds(1000);

    EXPECT_EQ(eventArgs->Timestamp()->ToString(), "2026-11-21T08:15:30.042Z");
    EXPECT_EQ(eventArgs->ProcessId(), ::getpid());
    EXPECT_EQ(eventArgs->ThreadId(), ::gettid());
    EXPECT_EQ(clock.CallCount(), 1);
}

TEST(TraceEventArgs, HasOneTimestamp) {
    const auto eventArgs = TraceEventArgs::Create();

    const std::shared_ptr<DateTime> timestamp = eventArgs->Timestamp();

    EXPECT_EQ(eventArgs->Timestamp(), timestamp);
}

TEST(TraceEventArgs, TellsTheThread) {
    int threadId = 0, seen = 0;

    std::thread([&] {
        threadId = ::gettid();
        seen = TraceEventArgs::Create()->ThreadId();
    }).join();

    EXPECT_EQ(seen, threadId);
    EXPECT_NE(seen, ::gettid());
}

TEST(TraceEventArgs, TellsTheChildFromItsParent) {
    TraceEventArgs::Create();

    const pid_t child = ::fork();
    if (child == 0) {
        const auto eventArgs = TraceEventArgs::Create();
        ::_exit(eventArgs->ProcessId() == ::getpid() && eventArgs->ThreadId() == ::getpid() ? 0 : 1);
    }

    int status = -1;
    ::waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
}

TEST(TraceEventArgs, GivesAllThreadsTheSameTimestamp) {
    for (int round = 0; round < 50; ++round) {
        const auto eventArgs = TraceEventArgs::Create();
        std::shared_ptr<DateTime> seen[4];
        std::vector<std::thread> threads;
        for (auto& timestamp : seen)
            threads.emplace_back([&] { timestamp = eventArgs->Timestamp(); });
        for (auto& thread : threads)
            thread.join();

        for (const auto& timestamp : seen)
            EXPECT_EQ(timestamp, seen[0]);
    }
}

TEST(TraceEventArgs, SurvivesEveryAllocationFailure) {
    const auto reserve = TraceEventArgs::Create(); // takes the spare block

    EXPECT_GE(TestSupport::FailEachAllocation([] {
                  const auto other = TraceEventArgs::Create();
                  const auto eventArgs = TraceEventArgs::Create();
                  eventArgs->Timestamp();
              }),
              1);
}

} // namespace
