// SPDX-License-Identifier: Apache-2.0
#include <System/DateTime.h>

#include <climits>

#include <gtest/gtest.h>

#include <System/Exceptions.h>

#include "tests/support/AllocationFailure.h"
#include "tests/support/ExpectException.h"
#include "tests/support/FakeClock.h"

using System::DateTime;
using System::TimeSpan;
using TestSupport::ExpectException;
using TestSupport::FakeClock;

TEST(DateTime, ReadsTheWallClockOnceToTheNanosecond) {
    FakeClock clock;
    clock.Set(1'795'248'930, 42'123'456);

    const auto now = DateTime::Now();

    EXPECT_EQ(now->Nanoseconds(), 1'795'248'930'042'123'456);
    EXPECT_EQ(clock.CallCount(), 1);
}

TEST(DateTime, SubtractsToASignedSpan) {
    FakeClock clock;
    const auto before = DateTime::Now();
    clock.AdvanceNanoseconds(1'500'000'001);
    const auto after = DateTime::Now();

    EXPECT_EQ(after->Subtract(before).Nanoseconds(), 1'500'000'001);
    EXPECT_EQ(before->Subtract(after).Nanoseconds(), -1'500'000'001);
    EXPECT_EQ(after->Subtract(after).Nanoseconds(), 0);
    ExpectException<System::ArgumentNullException>("The argument \"other\" must not be null",
                                                   [&] { after->Subtract(nullptr); });
}

TEST(DateTime, MeasuresAgainAndAgainWithoutAllocating) {
    FakeClock clock;
    const auto start = DateTime::Now();
    DateTime::Now(); // freed: the next one reuses its memory
    const TestSupport::AllocationFailure allocations;

    for (int i = 1; i <= 3; ++i) {
        clock.AdvanceNanoseconds(7);
        EXPECT_EQ(DateTime::Now()->Subtract(start).Nanoseconds(), 7 * i);
    }

    EXPECT_EQ(allocations.Count(), 0);
}

TEST(DateTime, WritesIsoTimeInUtc) {
    const struct {
        long long seconds;
        long nanoseconds;
        const char* text;
    } ROWS[] = {{1'795'248'930, 42'000'000, "2026-11-21T08:15:30.042Z"},
                {1'795'248'930, 42'999'999, "2026-11-21T08:15:30.042Z"}, // cut, not rounded
                {1'795'248'930, 999'999'999, "2026-11-21T08:15:30.999Z"},
                {0, 0, "1970-01-01T00:00:00.000Z"},
                {-1, 999'000'000, "1969-12-31T23:59:59.999Z"},
                {-1, 999'999'999, "1969-12-31T23:59:59.999Z"},
                {951'782'400, 0, "2000-02-29T00:00:00.000Z"},
                {951'868'799, 0, "2000-02-29T23:59:59.000Z"},
                {2'147'483'648, 1'000'000, "2038-01-19T03:14:08.001Z"}, // one more than 31 bits
                {4'107'542'400, 0, "2100-03-01T00:00:00.000Z"},         // 2100 is no leap year
                {9'000'000'000, 0, "2255-03-14T16:00:00.000Z"}};
    FakeClock clock;
    for (const auto& row : ROWS) {
        clock.Set(row.seconds, row.nanoseconds);
        EXPECT_EQ(DateTime::Now()->ToString(), row.text);
    }
}

TEST(DateTime, KeepsTheNearestTimeThatFitsWhereAClockIsBeyondIt) {
    FakeClock clock;
    clock.Set(9'223'372'036, 854'775'807);
    const auto last = DateTime::Now();
    EXPECT_EQ(last->Nanoseconds(), LLONG_MAX);
    clock.Set(9'223'372'036, 854'775'808);
    EXPECT_EQ(DateTime::Now()->Nanoseconds(), LLONG_MAX);
    clock.Set(10'000'000'000, 0);
    EXPECT_EQ(DateTime::Now()->Nanoseconds(), LLONG_MAX);
    clock.Set(-10'000'000'000, 0);
    const auto first = DateTime::Now();
    EXPECT_EQ(first->Nanoseconds(), LLONG_MIN);

    EXPECT_EQ(last->Subtract(first).Nanoseconds(), LLONG_MAX);
    EXPECT_EQ(first->Subtract(last).Nanoseconds(), LLONG_MIN);
}

TEST(DateTime, SurvivesEveryAllocationFailure) {
    EXPECT_GT(TestSupport::FailEachAllocation([] {
                  const auto reserve = DateTime::Now(); // takes the spare block
                  DateTime::Now()->ToString();
              }),
              1);
}

TEST(TimeSpan, IsACountOfNanoseconds) {
    EXPECT_EQ(TimeSpan().Nanoseconds(), 0);
    EXPECT_EQ(TimeSpan(LLONG_MIN).Nanoseconds(), LLONG_MIN);
    EXPECT_EQ(TimeSpan(5).Nanoseconds(), 5);
}

TEST(TimeSpan, CountsWholeMillisecondsTowardsZero) {
    EXPECT_EQ(TimeSpan(999'999).Milliseconds(), 0);
    EXPECT_EQ(TimeSpan(1'000'000).Milliseconds(), 1);
    EXPECT_EQ(TimeSpan(1'999'999).Milliseconds(), 1);
    EXPECT_EQ(TimeSpan(-999'999).Milliseconds(), 0);
    EXPECT_EQ(TimeSpan(-1'000'000).Milliseconds(), -1);
    EXPECT_EQ(TimeSpan(LLONG_MIN).Milliseconds(), LLONG_MIN / 1'000'000);
}
