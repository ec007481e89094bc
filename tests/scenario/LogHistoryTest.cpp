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

TEST(LogHistory, FindsTextsThatComeInPieces) {
    LogHistory log;
    log.Expect("is ready\nnow");
    log.Expect("never");
    log.AddPiece("");
    EXPECT_TRUE(log.IsEmpty());

    for (const char c : std::string("the application is ready\n"))
        log.AddPiece({&c, 1});
    EXPECT_EQ(log.LastRecord(), "the application is ready");
    EXPECT_FALSE(log.Has("is ready\nnow"));
    log.AddPiece("now");

    EXPECT_TRUE(log.Has("is ready\nnow"));
    EXPECT_FALSE(log.Has("never"));
    EXPECT_EQ(log.LastRecord(), "now");
    EXPECT_FALSE(log.IsEmpty());
}

TEST(LogHistory, KeepsOnlyTheEndOfALongLine) {
    LogHistory log;
    const std::string text(1'000, 't');
    log.Expect(text);
    log.AddPiece("x" + text.substr(1));
    EXPECT_FALSE(log.Has(text));
    log.AddPiece("t");
    EXPECT_TRUE(log.Has(text));
    EXPECT_EQ(log.LastRecord(), text.substr(0, 200));
}
