// SPDX-License-Identifier: Apache-2.0
#include "board/time/TimeKeeper.h"

#include <string>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "board/base/BoardError.h"
#include "tests/time/FakePage.h"

namespace VelrixBoard {
namespace {

using namespace std::chrono_literals;
using Preload::ThreadEntry;
using std::chrono::nanoseconds;
using testing::HasSubstr;

// A machine whose time passes in waits alone, and on which a test says what waits find.
class TimeKeeperTest : public testing::Test {
protected:
    TimeKeeper Keep(const TimeOptions& options) {
        return TimeKeeper(options, *fake.page, fake.threads, [this](const std::string& text) { said += text + "\n"; },
                          {[this](std::vector<pollfd>&, const std::optional<BoardTime>& longest) {
                               const int ready = readyAt && machineNow >= *readyAt ? 1 : 0;
                               if (ready == 0)
                                   machineNow += longest.value_or(1h);
                               waited += longest.value_or(1h);
                               if (onWait)
                                   onWait();
                               return ready;
                           },
                           [this] { return machineNow; }, processors});
    }

    static TimeOptions Virtual(std::optional<double> pace = std::nullopt) {
        TimeOptions options;
        options.isVirtual = true;
        options.pace = pace;
        return options;
    }

    int Wait(TimeKeeper& keeper, std::optional<BoardTime> longest) {
        std::vector<pollfd> none;
        return keeper.WaitForBoard(none, longest);
    }

    template <class Action>
    static std::string ErrorOf(Action action) {
        try {
            action();
        } catch (const BoardError& error) {
            return error.what();
        }
        return "no error";
    }

    FakePage fake;
    std::string said;
    nanoseconds machineNow{0};
    nanoseconds waited{0};
    unsigned processors = 1;
    std::optional<nanoseconds> readyAt; // when a descriptor becomes ready, by the machine
    std::function<void()> onWait;
};

TEST_F(TimeKeeperTest, StandsStillBeforeTheProgramsStart) {
    TimeKeeper keeper = Keep(Virtual());
    readyAt = 1s;

    EXPECT_EQ(Wait(keeper, std::nullopt), 0); // it waited until then
    EXPECT_EQ(Wait(keeper, std::nullopt), 1);

    EXPECT_EQ(keeper.Now(), 0ns);
}

TEST_F(TimeKeeperTest, SkipsTheTimeInWhichNobodyRuns) {
    TimeKeeper keeper = Keep(Virtual());
    keeper.OnProgramStarted();
    fake.Wait(1, nanoseconds(24h).count());

    EXPECT_EQ(Wait(keeper, 23h), 0);

    EXPECT_EQ(keeper.Now(), 23h);
    EXPECT_LT(waited, 1ms);
}

TEST_F(TimeKeeperTest, LetsTheBoardsPartsComeBeforeThreads) {
    TimeKeeper keeper = Keep(Virtual());
    keeper.OnProgramStarted();
    const ThreadEntry& entry = fake.Wait(1, nanoseconds(10s).count());

    EXPECT_EQ(Wait(keeper, 10s), 0);
    EXPECT_EQ(keeper.Now(), 10s);
    EXPECT_FALSE(FakePage::IsWoken(entry));

    readyAt = machineNow + 1us; // after the thread was woken
    EXPECT_EQ(Wait(keeper, 10s), 1);
    EXPECT_TRUE(FakePage::IsWoken(entry));
    EXPECT_EQ(keeper.Now(), 10s);
}

TEST_F(TimeKeeperTest, DoesNotMoveTheClockWhileAThreadRuns) {
    TimeKeeper keeper = Keep(Virtual());
    keeper.OnProgramStarted();
    fake.Wait(1, nanoseconds(10s).count());
    fake.threads.looks = std::deque<bool>(8, false);

    readyAt = 100us;
    EXPECT_EQ(Wait(keeper, 20s), 1);

    EXPECT_EQ(keeper.Now(), 0ns);
    EXPECT_FALSE(fake.threads.looks.empty());
}

TEST_F(TimeKeeperTest, LooksForWhatProgramsDidBeforeTheySleptFirst) {
    TimeKeeper keeper = Keep(Virtual());
    keeper.OnProgramStarted();
    fake.Wait(1, nanoseconds(10s).count());
    onWait = [this] { readyAt = machineNow; }; // found by the second look at the descriptors

    EXPECT_EQ(Wait(keeper, 20s), 1);

    EXPECT_EQ(keeper.Now(), 0ns);
}

// What a tick costs the board, which is what virtual time costs.
TEST_F(TimeKeeperTest, WaitsTwiceAndNeverLooksForATickOfASingleThread) {
    constexpr int TICKS = 6'000;
    TimeKeeper keeper = Keep(Virtual());
    keeper.OnProgramStarted();
    fake.threads.isAlone = true;
    ThreadEntry& entry = fake.Wait(1, nanoseconds(10ms).count());
    int waits = 0, ticks = 0;
    onWait = [&] {
        ++waits;
        if (FakePage::IsWoken(entry))
            fake.WaitAgain(entry, nanoseconds(++ticks * 10ms + 10ms).count());
    };

    EXPECT_EQ(Wait(keeper, TICKS * 10ms + 5ms), 0);

    EXPECT_EQ(ticks, TICKS);
    EXPECT_LE(waits, 2 * TICKS + 5);
    EXPECT_LE(fake.threads.lookCount, 1);
}

// On another processor, while the board runs: neither falls asleep.
TEST_F(TimeKeeperTest, LooksOutForASingleThreadWhereThereIsAProcessorForIt) {
    constexpr int TICKS = 6'000;
    processors = 2;
    TimeKeeper keeper = Keep(Virtual());
    keeper.OnProgramStarted();
    fake.threads.isAlone = true;
    ThreadEntry& entry = fake.Wait(1, nanoseconds(10ms).count());
    int waits = 0, ticks = 0;
    onWait = [&] {
        ++waits;
        if (FakePage::IsWoken(entry))
            fake.WaitAgain(entry, nanoseconds(++ticks * 10ms + 10ms).count());
    };

    EXPECT_EQ(Wait(keeper, TICKS * 10ms + 5ms), 0);

    EXPECT_EQ(ticks, TICKS);
    EXPECT_EQ(waited, 0ns); // looked at descriptors alone
    EXPECT_LE(waits, 2 * TICKS + 5);
    EXPECT_EQ(fake.page->isQuick.load(), 1U);
    keeper.OnProgramEnded();
    EXPECT_EQ(fake.page->isQuick.load(), 0U);
}

// That of a program that works longer than the board looks out, or has no processor.
TEST_F(TimeKeeperTest, LooksOutSeldomWhereThatIsInVain) {
    constexpr int TICKS = 6'000;
    processors = 2;
    TimeKeeper keeper = Keep(Virtual());
    keeper.OnProgramStarted();
    fake.threads.isAlone = true;
    ThreadEntry& entry = fake.Wait(1, nanoseconds(10ms).count());
    int waits = 0, ticks = 0;
    nanoseconds waitedBefore{0};
    onWait = [&] {
        ++waits;
        if (std::exchange(waitedBefore, waited) != waited && FakePage::IsWoken(entry))
            fake.WaitAgain(entry, nanoseconds(++ticks * 10ms + 10ms).count());
    };

    EXPECT_EQ(Wait(keeper, TICKS * 10ms + 5ms), 0);

    EXPECT_EQ(ticks, TICKS);
    EXPECT_LE(waits, 2 * TICKS + TICKS / 4);
}

TEST_F(TimeKeeperTest, ServesWhatIsReadyWhileItLooksOut) {
    processors = 2;
    TimeKeeper keeper = Keep(Virtual());
    keeper.OnProgramStarted();
    fake.threads.isAlone = true;
    const ThreadEntry& entry = fake.Wait(1, nanoseconds(10ms).count());
    onWait = [&] {
        if (FakePage::IsWoken(entry))
            readyAt = machineNow; // a value file, say
    };

    EXPECT_EQ(Wait(keeper, 1s), 1);

    EXPECT_EQ(waited, 0ns);
    EXPECT_EQ(keeper.Now(), 10ms);
}

TEST_F(TimeKeeperTest, LetsThreadsSleepWhereTheyAreNotAloneOrThePaceIsBound) {
    processors = 2;
    {
        TimeKeeper keeper = Keep(Virtual(5.0));
        keeper.OnProgramStarted();
        fake.Wait(1, nanoseconds(10ms).count());
        EXPECT_EQ(Wait(keeper, 5ms), 0);
        EXPECT_EQ(fake.page->isQuick.load(), 0U);
    }
    TimeKeeper keeper = Keep(Virtual());
    keeper.OnProgramStarted();
    EXPECT_EQ(Wait(keeper, 1ms), 0);
    EXPECT_EQ(fake.page->isQuick.load(), 1U);
    fake.Wait(2, nanoseconds(20ms).count());
    EXPECT_EQ(Wait(keeper, 1ms), 0);
    EXPECT_EQ(fake.page->isQuick.load(), 0U);
}

TEST_F(TimeKeeperTest, PassesAsOnTheMachineAfterTheProgramsEnd) {
    TimeKeeper keeper = Keep(Virtual());
    keeper.OnProgramStarted();
    keeper.OnProgramEnded();
    const ThreadEntry& left = fake.Wait(1, nanoseconds(20ms).count());

    EXPECT_EQ(Wait(keeper, 1s), 0);

    EXPECT_GE(machineNow, 1s);
    EXPECT_EQ(keeper.Now(), machineNow);
    EXPECT_TRUE(FakePage::IsWoken(left));
    EXPECT_GE(fake.threads.lookCount, 1000ms / 5ms); // for the threads that there are
}

TEST_F(TimeKeeperTest, KeepsThePace) {
    TimeKeeper keeper = Keep(Virtual(5.0));
    keeper.OnProgramStarted();
    fake.Wait(1, nanoseconds(1h).count());

    EXPECT_EQ(Wait(keeper, 10s), 0);

    EXPECT_EQ(keeper.Now(), 10s);
    EXPECT_GE(machineNow, 2s);
    EXPECT_LT(machineNow, 2010ms);
}

TEST_F(TimeKeeperTest, GivesWhatComesFromOutsideItsTimeByThePace) {
    TimeKeeper keeper = Keep(Virtual(2.0));
    keeper.OnProgramStarted();
    fake.Wait(1, nanoseconds(1h).count());
    readyAt = 1s;

    EXPECT_EQ(Wait(keeper, 10s), 1);

    EXPECT_GE(keeper.Now(), 2s);
    EXPECT_LT(keeper.Now(), 2s + 20ms);
}

TEST_F(TimeKeeperTest, PassesAsOnTheMachineWhereAProgramIsNotServed) {
    TimeKeeper keeper = Keep(Virtual());
    keeper.OnProgramStarted();
    fake.SleepElsewhere(fake.Wait(1, 0), SYS_nanosleep);
    EXPECT_TRUE(keeper.HasReachedAll());

    EXPECT_EQ(Wait(keeper, 2s), 0);
    EXPECT_FALSE(keeper.HasReachedAll());
    EXPECT_GE(machineNow, 2s);
    EXPECT_EQ(said,
              "time passes as on the machine for now, since virtual time does not reach the program: thread 1 of 100 "
              "waits past the board's clock, by the system call nanosleep\n");

    fake.threads.threads[0].call = SYS_read;
    const nanoseconds before = machineNow;
    EXPECT_EQ(Wait(keeper, 1h), 0);
    EXPECT_LT(machineNow - before, 10ms);
}

TEST_F(TimeKeeperTest, EndsTheRunOnRequestWhereAProgramIsNotServed) {
    TimeOptions options = Virtual();
    options.unserved = TimeOptions::Unserved::FAIL;
    TimeKeeper keeper = Keep(options);
    keeper.OnProgramStarted();
    fake.SleepElsewhere(fake.Wait(1, 0), SYS_nanosleep);

    EXPECT_EQ(ErrorOf([&] { Wait(keeper, 2s); }),
              "virtual time does not reach the program: thread 1 of 100 waits past the board's clock, by "
              "the system call nanosleep");
}

TEST_F(TimeKeeperTest, EndsTheRunWhenAThreadDoesNotWakeUp) {
    TimeKeeper keeper = Keep(Virtual());
    keeper.OnProgramStarted();
    fake.Wait(1, nanoseconds(1s).count());

    EXPECT_EQ(ErrorOf([&] { Wait(keeper, 1h); }),
              "a program does not wake up at its time: thread 1 of 100 waits for a sleep");

    EXPECT_GE(machineNow, TimeKeeper::WATCHDOG);
    EXPECT_LT(machineNow, 2 * TimeKeeper::WATCHDOG);
}

TEST_F(TimeKeeperTest, SaysOnceThatNobodyWaitsForATime) {
    TimeKeeper keeper = Keep(Virtual());
    keeper.OnProgramStarted();
    fake.SleepElsewhere(fake.Wait(1, 0), SYS_read);
    readyAt = 60s;

    EXPECT_EQ(Wait(keeper, std::nullopt), 1);

    EXPECT_EQ(said,
              "nobody on the board waits for a time, so it stands still until something outside happens: thread 1 of "
              "100 waits in system call " +
                  std::to_string(SYS_read) + "\n");
    EXPECT_EQ(keeper.Now(), 0ns);
}

TEST_F(TimeKeeperTest, SaysOnceThatSomethingKeepsTheTimeFromPassing) {
    TimeKeeper keeper = Keep(Virtual());
    keeper.OnProgramStarted();
    fake.Wait(1, nanoseconds(1s).count());
    fake.threads.looks = std::deque<bool>(100'000, false);
    readyAt = 60s;

    EXPECT_EQ(Wait(keeper, std::nullopt), 1);

    EXPECT_EQ(said,
              "the board's time has stood still for 10 s, since a program neither sleeps nor uses the processor (does "
              "a debugger hold it?): thread 1 of 100\n");
}

TEST_F(TimeKeeperTest, CountsTheProcessorTimeOfThreadsThatDoNotAskForTheTime) {
    TimeKeeper keeper = Keep(Virtual());
    keeper.OnProgramStarted();
    fake.Wait(1, nanoseconds(10h).count());
    fake.threads.looks = std::deque<bool>(100'000, false);
    onWait = [this] { fake.threads.threads[0].spent = static_cast<std::uint64_t>(machineNow.count()); };

    EXPECT_EQ(Wait(keeper, 5s), 0);

    EXPECT_GE(keeper.Now(), 5s);
    EXPECT_LT(machineNow, 5010ms);
}

} // namespace
} // namespace VelrixBoard
