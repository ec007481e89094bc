// SPDX-License-Identifier: Apache-2.0
#include "board/time/TimedWaits.h"

#include <csignal>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/time/FakePage.h"

namespace VelrixBoard {
namespace {

using Preload::NEVER;
using Preload::SignalTimer;
using Preload::ThreadEntry;
using Preload::WaitKind;
using std::chrono::nanoseconds;
using testing::HasSubstr;

class TimedWaitsTest : public testing::Test {
protected:
    void MoveTo(long long ns) {
        waits.Advance(nanoseconds(ns));
        waits.Match();
    }

    SignalTimer& Arm(long long untilNs, long long intervalNs) {
        SignalTimer& timer = fake.page->timers[fake.page->usedTimers.fetch_add(1)];
        timer.process.store(100);
        timer.signal.store(SIGALRM);
        timer.deadline.store(untilNs + FakePage::MONOTONIC_BASE);
        timer.interval.store(intervalNs);
        timer.state.store(SignalTimer::ARMED);
        return timer;
    }

    FakePage fake;
    TimedWaits waits{*fake.page, fake.threads};
};

TEST_F(TimedWaitsTest, WakesOneAtATimeByDeadlineAndThenByAge) {
    ThreadEntry& late = fake.Wait(1, 30);
    ThreadEntry& older = fake.Wait(2, 20);
    ThreadEntry& younger = fake.Wait(3, 20);
    MoveTo(25);

    EXPECT_EQ(waits.WakeFirst(), older.ticket.load());
    fake.WaitAgain(older, 100);
    waits.Match();
    EXPECT_FALSE(FakePage::IsWoken(younger));
    EXPECT_EQ(waits.WakeFirst(), younger.ticket.load());
    fake.WaitAgain(younger, 100);
    waits.Match();

    EXPECT_EQ(waits.WakeFirst(), std::nullopt);
    EXPECT_FALSE(FakePage::IsWoken(late));
    EXPECT_EQ(waits.Soonest(), nanoseconds(30));
}

class SingleThreadTest : public TimedWaitsTest {
protected:
    // The thread was woken at 10 and waits again until 20.
    SingleThreadTest() {
        fake.threads.isAlone = true;
        MoveTo(10);
        waits.WakeFirst();
        EXPECT_FALSE(waits.MatchSingle()); // still running
        fake.WaitAgain(entry, 20);
    }

    ThreadEntry& entry = fake.Wait(1, 10);
};

TEST_F(SingleThreadTest, IsKnownToSleepByWhatItSays) {
    EXPECT_TRUE(waits.MatchSingle());

    EXPECT_EQ(waits.Soonest(), nanoseconds(20));
    waits.Advance(nanoseconds(20));
    EXPECT_EQ(waits.WakeFirst(), entry.ticket.load());
    EXPECT_TRUE(FakePage::IsWoken(entry));
    EXPECT_FALSE(waits.MatchSingle());
}

TEST_F(SingleThreadTest, IsLookedAtWhereAnotherOneMayHaveBeenMade) {
    fake.threads.isAlone = false;
    EXPECT_FALSE(waits.MatchSingle());
}

TEST_F(SingleThreadTest, IsLookedAtWhereAnotherOneSlept) {
    fake.Wait(2, 100);
    waits.Match();
    EXPECT_FALSE(waits.MatchSingle());
}

TEST_F(SingleThreadTest, IsLookedAtWhereSomethingElseCanEndItsWait) {
    for (const WaitKind kind : {WaitKind::POLL, WaitKind::RETRY}) {
        fake.WaitAgain(entry, 20, kind);
        EXPECT_FALSE(waits.MatchSingle());
    }
    fake.WaitAgain(entry, 20);
    EXPECT_TRUE(waits.MatchSingle());
    entry.word.fetch_or(Preload::WaitWord::REPLACED);
    EXPECT_FALSE(waits.MatchSingle());
}

// A handler must end its sleep, which it cannot before the thread sleeps.
TEST_F(SingleThreadTest, SleepsBeforeItGetsASignal) {
    waits.LetBeQuick(true);
    ASSERT_TRUE(waits.IsQuick());
    fake.threads.looks = {false, false, true};
    fake.threads.lookCount = 0;

    waits.OnSignal();

    EXPECT_FALSE(waits.IsQuick());
    EXPECT_EQ(fake.threads.lookCount, 3);
}

TEST_F(SingleThreadTest, GetsASignalAtOnceWhereItRuns) {
    waits.Advance(nanoseconds(20));
    ASSERT_TRUE(waits.MatchSingle());
    waits.WakeFirst();
    fake.threads.looks = {false, false, true};
    fake.threads.lookCount = 0;

    waits.OnSignal();

    EXPECT_EQ(fake.threads.lookCount, 0);
}

TEST_F(SingleThreadTest, GetsASignalInTheEndWhereItDoesNotFallAsleep) {
    fake.threads.looks.assign(10'000, false);

    waits.OnSignal();

    EXPECT_GT(fake.threads.looks.size(), 9'000U);
}

TEST_F(SingleThreadTest, IsLookedAtAfterASignal) {
    waits.OnSignal();
    EXPECT_FALSE(waits.MatchSingle());
    waits.Match();
    EXPECT_TRUE(waits.MatchSingle());

    Arm(10, 0);
    EXPECT_EQ(waits.WakeFirst(), 0U);
    EXPECT_FALSE(waits.MatchSingle());
}

TEST_F(TimedWaitsTest, KnowsNoDeadlineWhereNobodyHasOne) {
    fake.Wait(1, NEVER, WaitKind::POLL);
    MoveTo(1'000);

    EXPECT_EQ(waits.Soonest(), std::nullopt);
    EXPECT_EQ(waits.WakeFirst(), std::nullopt);
}

TEST_F(TimedWaitsTest, LeavesOutAThreadThatSleepsElsewhereThanItsEntrySays) {
    ThreadEntry& entry = fake.Wait(1, 20);
    fake.SleepElsewhere(entry, SYS_read);
    MoveTo(0);

    EXPECT_EQ(waits.Soonest(), std::nullopt);
    EXPECT_EQ(waits.Describe(), "thread 1 of 100 waits in system call " + std::to_string(SYS_read));
}

TEST_F(TimedWaitsTest, MovesTheDeadlinesOfTheWallClockWithIt) {
    ThreadEntry& entry = fake.Wait(1, 0);
    entry.isWall.store(1);
    entry.deadline.store(FakePage::WALL_BASE + 500);
    MoveTo(100);
    EXPECT_EQ(waits.Soonest(), nanoseconds(500));

    waits.ChangeWallClock({false, nanoseconds(FakePage::WALL_BASE + 400)});
    EXPECT_EQ(waits.Soonest(), nanoseconds(200));

    waits.ChangeWallClock({true, nanoseconds(-50)});
    EXPECT_EQ(waits.Soonest(), nanoseconds(250));
}

TEST_F(TimedWaitsTest, LetsThreadsTryAgainOnceForAllThatOthersDid) {
    ThreadEntry& retrying = fake.Wait(1, 1'000, WaitKind::RETRY);
    ThreadEntry& other = fake.Wait(2, 500);
    fake.SleepElsewhere(other, SYS_read);
    MoveTo(0);

    EXPECT_TRUE(waits.WakeRetries());
    EXPECT_TRUE(FakePage::IsWoken(retrying));

    fake.WaitAgain(retrying, 1'000, WaitKind::RETRY);
    fake.threads.threads[0].spent += 1'000; // it ran to try
    waits.Match();
    EXPECT_FALSE(waits.WakeRetries());

    fake.threads.threads[1].spent += 1'000;
    EXPECT_TRUE(waits.WakeRetries());

    fake.page->progress.fetch_add(1);
    EXPECT_TRUE(waits.WakeRetries());
    EXPECT_FALSE(waits.WakeRetries());
}

TEST_F(TimedWaitsTest, SendsTheSignalsOfTimersAndArmsThemAgain) {
    fake.Wait(1, NEVER, WaitKind::POLL);
    SignalTimer& once = Arm(10, 0);
    SignalTimer& periodic = Arm(20, 30);
    MoveTo(0);
    EXPECT_EQ(waits.Soonest(), nanoseconds(10));

    MoveTo(110);
    EXPECT_EQ(waits.WakeFirst(), 0U);
    EXPECT_EQ(waits.WakeFirst(), 0U);
    EXPECT_EQ(waits.WakeFirst(), std::nullopt);

    EXPECT_EQ(fake.threads.log, "signal 14 to 100\nsignal 14 to 100\n");
    EXPECT_EQ(once.state.load(), SignalTimer::DISARMED);
    EXPECT_EQ(waits.Soonest(), nanoseconds(140)); // 20 + 4 * 30
    EXPECT_EQ(periodic.state.load(), SignalTimer::ARMED);
}

TEST_F(TimedWaitsTest, FreesWhatEndedThreadsAndProcessesLeave) {
    fake.Wait(1, 20);
    ThreadEntry& ended = fake.Wait(2, 10);
    fake.threads.threads.pop_back();
    SignalTimer& left = Arm(5, 0);
    left.process.store(999);
    MoveTo(0);

    EXPECT_EQ(ended.thread.load(), 0);
    EXPECT_EQ(left.state.load(), SignalTimer::FREE);
    EXPECT_EQ(waits.Soonest(), nanoseconds(20));
}

TEST_F(TimedWaitsTest, CountsTheProcessorTimeOfThreadsThatComputeForLong) {
    constexpr std::uint64_t MS = 1'000'000;
    fake.Wait(1, 20);
    std::uint64_t& spent = fake.threads.threads[0].spent;
    spent = 100 * MS;
    waits.Account(); // the first sight
    spent = 125 * MS - 1;
    waits.Account();
    EXPECT_EQ(waits.Now(), nanoseconds(0));

    spent = 125 * MS;
    waits.Account();
    EXPECT_EQ(waits.Now(), nanoseconds(25 * MS));
    spent = 126 * MS;
    waits.Account();
    waits.Account();
    EXPECT_EQ(waits.Now(), nanoseconds(26 * MS));

    waits.Advance(nanoseconds(30 * MS)); // time that passed otherwise counts
    spent = 129 * MS;
    waits.Account();
    EXPECT_EQ(waits.Now(), nanoseconds(30 * MS));

    waits.Match(); // all sleep: what it computes then begins at nothing
    waits.Account();
    spent = 153 * MS;
    waits.Account();
    EXPECT_EQ(waits.Now(), nanoseconds(30 * MS));
}

TEST_F(TimedWaitsTest, WakesAllThatIsDueBesideThreadsThatRun) {
    ThreadEntry& due = fake.Wait(1, 20);
    ThreadEntry& retrying = fake.Wait(2, 1'000, WaitKind::RETRY);
    ThreadEntry& later = fake.Wait(3, 30);
    Arm(20, 0);
    waits.Advance(nanoseconds(20));

    waits.WakeAllDue();

    EXPECT_TRUE(FakePage::IsWoken(due));
    EXPECT_TRUE(FakePage::IsWoken(retrying));
    EXPECT_FALSE(FakePage::IsWoken(later));
    EXPECT_EQ(fake.threads.log, "signal 14 to 100\n");
}

TEST_F(TimedWaitsTest, NamesWhoWaitsPastTheBoardsClock) {
    ThreadEntry& entry = fake.Wait(1, 20);
    MoveTo(0);
    EXPECT_EQ(waits.FindUnserved(), std::nullopt);

    fake.SleepElsewhere(entry, SYS_nanosleep);
    waits.Match();
    EXPECT_EQ(waits.FindUnserved(), "thread 1 of 100 waits past the board's clock, by the system call nanosleep");

    fake.SleepElsewhere(entry, SYS_read);
    waits.Match();
    EXPECT_EQ(waits.FindUnserved(), std::nullopt);

    fake.threads.threads.push_back({200, 200, 0, true, SYS_read, {}});
    waits.Match();
    EXPECT_THAT(waits.FindUnserved().value_or(""), HasSubstr("thread 200 of 200 has the machine's clock"));
}

TEST_F(TimedWaitsTest, NamesWhatAProgramUsesThoughItIsNotServed) {
    fake.Wait(1, 20);
    fake.page->unserved[0].what.store(Preload::Unserved::SOCKET_LIMIT);
    fake.page->unserved[0].process.store(100);
    fake.page->uses.store(1);
    MoveTo(0);
    EXPECT_THAT(waits.FindUnserved().value_or(""), HasSubstr("SO_RCVTIMEO"));

    fake.page->unserved[0].process.store(300); // which has ended
    EXPECT_EQ(waits.FindUnserved(), std::nullopt);
}

TEST_F(TimedWaitsTest, DescribesAFewOfManyThreads) {
    for (pid_t thread = 1; thread <= 7; ++thread)
        fake.Wait(thread, 20);
    MoveTo(0);

    const std::string text = waits.Describe();

    EXPECT_THAT(text, HasSubstr("thread 5 of 100 waits for a sleep; and 2 more"));
    EXPECT_EQ(waits.Describe(fake.page->entries[6].ticket.load()), "thread 7 of 100 waits for a sleep");
}

} // namespace
} // namespace VelrixBoard
