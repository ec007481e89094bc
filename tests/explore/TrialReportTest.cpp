// SPDX-License-Identifier: Apache-2.0
#include "board/explore/TrialReport.h"

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "board/explore/Progress.h"

namespace VelrixBoard {
namespace {

using std::chrono::duration;

TEST(TrialReport, NamesTheFirstFailedStep) {
    const TrialReport report(
        "hello\nvelrix-board: says something\n"
        "/tmp/x/invariants.scenario:3: within 20s MS is not red: expected within 20.000 s: MS is not "
        "red; seen at 1.250 s: MS red since 3 ms\n"
        "/tmp/r/run.scenario:2: never MS is red: the run ended at 3.000 s before this step\n"
        "/tmp/r/run.scenario: 3 steps passed, 2 failed, 0 not reached\n",
        "/tmp/r/run.scenario");

    EXPECT_EQ(report.Message(1), "invariants.scenario:3: within 20s MS is not red: expected within 20.000 s: MS is not "
                                 "red; seen at 1.250 s: MS red since 3 ms");
    EXPECT_EQ(report.Failure(1), "within 20s MS is not red: expected within #: MS is not red");
    EXPECT_THAT(report.Notes(), testing::ElementsAre("says something"));
    EXPECT_FALSE(report.CouldNotRun());
}

TEST(TrialReport, TellsCrashesApartByTheProgramsLastLine) {
    const std::string step = "/r/run.scenario:2: never program is killed by ABRT: never expected: program is killed by "
                             "ABRT; seen at 1.250 s\n/r/run.scenario: 0 steps passed, 1 failed, 0 not reached\n";
    const TrialReport first("terminate called\n  what():  pin 7\n" + step, "/r/run.scenario");
    const TrialReport second("  what():  pin 12\n" + step, "/r/run.scenario");
    const TrialReport other("no end of line" + step, "/r/run.scenario");

    EXPECT_EQ(first.Message(1), "never program is killed by ABRT: never expected: program is killed by ABRT; seen at "
                                "1.250 s (  what():  pin 7)");
    EXPECT_EQ(first.Failure(1), second.Failure(1));
    EXPECT_NE(first.Failure(1), other.Failure(1));
    EXPECT_THAT(other.Failure(1), testing::StartsWith("never program is killed by ABRT: "));
}

TEST(TrialReport, GivesTheBoardsReasonWhereNoStepFailed) {
    const TrialReport report("velrix-board: first\nvelrix-board: a program does not wake up: 4711\n",
                             "/r/run.scenario");
    EXPECT_EQ(report.Message(125), "a program does not wake up: 4711");
    EXPECT_EQ(report.Failure(125), "a program does not wake up: #");

    EXPECT_EQ(TrialReport("", "/r/run.scenario").Message(137), "the board ended with 137");
    EXPECT_EQ(TrialReport("", "/r/run.scenario").Failure(1), "the scenario failed");
}

TEST(TrialReport, RecognisesAProgramThatCannotBeRun) {
    const TrialReport report("/r/run.scenario:1: never MS is red: the program could not be run (exit code 127) at 0.0 "
                             "ms\n/r/run.scenario: 0 steps passed, 1 failed, 0 not reached\n",
                             "/r/run.scenario");
    EXPECT_TRUE(report.CouldNotRun());
}

TEST(TrialReport, LeavesOnlyTimesOut) {
    EXPECT_EQ(WithoutTimes("exits with 1 at 2.000 s, before"), "exits with 1 at #, before");
    EXPECT_EQ(WithoutTimes("OXBO_RESET1_N low for 3 ms"), "OXBO_RESET1_N low for #");
    EXPECT_EQ(WithoutTimes("LINK_ACT1 s"), "LINK_ACT1 s");
    EXPECT_EQ(WithoutTimes("7 steps, 1.5 sec"), "7 steps, 1.5 sec");
    EXPECT_EQ(WithoutTimes(""), "");
}

TEST(Progress, SaysHowFarTheSearchIs) {
    EXPECT_EQ(TextOf({312, 40, 41, 1, true}, 1000, 352, duration<double>(64)),
              "312 of 1000 runs, 5.5 a second, 2 min 6 s left, 41 behaviours, 1 failure, shrinking");
    EXPECT_EQ(TextOf({0, 0, 0, 0, false}, 10, 0, duration<double>(0)),
              "0 of 10 runs, 0.0 a second, 0 s left, 0 behaviours, 0 failures");
    EXPECT_EQ(TextOf({1, 0, 3, 2, false}, 100'001, 1, duration<double>(1)),
              "1 of 100001 runs, 1.0 a second, 27 h 46 min left, 3 behaviours, 2 failures");
}

} // namespace
} // namespace VelrixBoard
