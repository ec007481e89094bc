// SPDX-License-Identifier: Apache-2.0
#include "board/scenario/LogHistory.h"

#include <gtest/gtest.h>

using namespace VelrixBoard;

TEST(LogHistory, RemembersWhichTextsWereSeenAndTheLastRecord) {
    LogHistory log;
    log.Expect("ready");
    log.Expect("ad");
    log.Expect("failed");
    EXPECT_TRUE(log.IsEmpty());

    log.Add("");
    EXPECT_FALSE(log.IsEmpty());
    EXPECT_EQ(log.LastRecord(), "");
    EXPECT_FALSE(log.Has("ad"));

    log.Add("+ready now");
    log.Add("fai");
    log.Add("led");

    EXPECT_TRUE(log.Has("ready"));
    EXPECT_TRUE(log.Has("ad"));
    EXPECT_FALSE(log.Has("failed"));
    EXPECT_EQ(log.LastRecord(), "led");
}

TEST(LogHistory, TakesTheEmptyTextForSeenWithTheFirstRecord) {
    LogHistory log;
    log.Expect("");
    EXPECT_FALSE(log.Has(""));

    log.Add("x");

    EXPECT_TRUE(log.Has(""));
}
