// SPDX-License-Identifier: Apache-2.0
#include "board/timeline/Timeline.h"

#include <gtest/gtest.h>

using namespace VelrixBoard;
using std::chrono::microseconds;
using std::chrono::seconds;

TEST(ParseTime, ReadsTimesInEveryUnit) {
    EXPECT_EQ(ParseTime("0s"), seconds(0));
    EXPECT_EQ(ParseTime("7us"), microseconds(7));
    EXPECT_EQ(ParseTime("0.5ms"), microseconds(500));
    EXPECT_EQ(ParseTime("1.0000004s"), seconds(1));
    EXPECT_EQ(ParseTime("525600min"), std::chrono::hours(365 * 24));
    EXPECT_EQ(ParseTime("1.5h"), std::chrono::minutes(90));
    EXPECT_EQ(ParseTime("365d"), std::chrono::hours(365 * 24));
}

TEST(ParseTime, TakesNothingElse) {
    for (const char* text : {"",     "s",         "1",     "1 s",  "1H",   "366d", "1day", "-1s", "-0s",    "1e3s",
                             "0x1s", "525601min", "nan s", "nans", "infs", "1s.",  "1.s",  ".5s", "1.2.3s", "."})
        EXPECT_EQ(ParseTime(text), std::nullopt) << text;
}

TEST(ParseDate, ReadsMoments) {
    const struct {
        const char* text;
        long long nanoseconds;
    } rows[] = {{"1970-01-01T00:00:00Z", 0},
                {"2038-01-19T03:14:00Z", 2'147'483'640'000'000'000},
                {"2024-02-29T23:59:59.25Z", 1'709'251'199'250'000'000},
                {"2200-12-31T23:59:59.999999999Z", 7'289'654'399'999'999'999}};
    for (const auto& row : rows) {
        const auto date = ParseDate(row.text);
        ASSERT_TRUE(date) << row.text;
        EXPECT_EQ(date->count(), row.nanoseconds) << row.text;
    }
}

TEST(ParseDate, TakesNothingElse) {
    for (const char* text :
         {"", "Z", "2038-01-19", "2038-01-19T03:14:00", "2038-01-19 03:14:00Z", "2038-13-19T03:14:00Z",
          "2023-02-29T00:00:00Z", "2038-01-19T24:00:00Z", "2038-01-19T03:60:00Z", "2038-01-19T03:14:60Z",
          "1969-12-31T23:59:59Z", "2201-01-01T00:00:00Z", "2038-01-19T03:14:00.Z", "2038-01-19T03:14:00.1234567890Z",
          "2038-01-19T03:14:00+01:00", "+038-01-19T03:14:00Z", "2038-01-19T03:14:00.-1Z"})
        EXPECT_FALSE(ParseDate(text)) << text;
}

TEST(TextOfDate, IsReadAgain) {
    for (const char* text :
         {"1970-01-01T00:00:00.000000000Z", "2024-02-29T23:59:59.250000000Z", "2200-12-31T23:59:59.999999999Z"})
        EXPECT_EQ(TextOfDate(ParseDate(text).value()), text);
}
