// SPDX-License-Identifier: Apache-2.0
#include "board/panel/PanelFeed.h"

#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace VelrixBoard {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::Not;

class PanelFeedTest : public testing::Test {
protected:
    std::string Next(PanelFeed::Reader& place) { return feed.Next(place, 0ms).value_or("closed"); }

    PanelFeed feed{R"({"signals":[]})", {true, false, false}, [] { return 7ms; }};
    PanelFeed::Reader reader;
};

TEST_F(PanelFeedTest, BeginsWithEverything) {
    feed.Change(1, true, 3ms);
    feed.Record(PanelFeed::Log::WEB, ">start", 4ms);
    feed.Record(PanelFeed::Log::SYSTEM, "<14>a \"b\"", 5ms);
    feed.Status("module", R"({"state":"reset"})");

    EXPECT_EQ(Next(reader), R"({"now":7000,"board":{"signals":[]},"levels":"110","changes":[[1,0,3000,3000,1,1]],)"
                            R"("webLog":[[0,4000,">start"]],"systemLog":[[0,5000,"<14>a \"b\""]],)"
                            R"("module":{"state":"reset"}})");
}

TEST_F(PanelFeedTest, TellsNewsOnceAfterTheyWerePublished) {
    feed.Record(PanelFeed::Log::WEB, "+old", 1ms);
    Next(reader);

    feed.Change(0, false, 8ms);
    EXPECT_EQ(Next(reader), "");
    feed.Publish();

    EXPECT_EQ(Next(reader), R"({"now":7000,"levels":"000","changes":[[0,0,8000,8000,1,0]]})");
    EXPECT_EQ(Next(reader), "");
}

TEST_F(PanelFeedTest, HasAPlaceForEachReader) {
    PanelFeed::Reader second;
    Next(reader);
    feed.Status("faults", R"({"a":1})");
    feed.Publish();
    Next(reader);
    feed.Status("faults", R"({"a":2})");
    feed.Publish();

    EXPECT_THAT(Next(second), HasSubstr(R"("faults":{"a":2})"));
    EXPECT_THAT(Next(reader), HasSubstr(R"("faults":{"a":2})"));
}

TEST_F(PanelFeedTest, WakesAReaderThatWaits) {
    Next(reader);
    std::string message;
    std::thread thread([&] { message = feed.Next(reader, 20s).value_or(""); });

    feed.Change(2, true, 1ms);
    feed.Publish();
    thread.join();

    EXPECT_THAT(message, HasSubstr(R"("levels":"101")"));
}

TEST_F(PanelFeedTest, MakesABurstOfChangesThatFollowOneAnotherFast) {
    Next(reader);
    for (int i = 0; i < 100'000; ++i)
        feed.Change(1, i % 2 == 0, std::chrono::microseconds(10 * i));
    feed.Change(1, true, 2s);
    feed.Publish();

    EXPECT_EQ(Next(reader), R"({"now":7000,"levels":"110","changes":[[1,0,0,999990,100000,0],)"
                            R"([1,16,2000000,2000000,1,1]]})");
}

TEST_F(PanelFeedTest, TellsABurstThatGoesOnByTheSameNumber) {
    for (int i = 0; i < 20; ++i)
        feed.Change(1, i % 2 == 0, 100us * i);
    Next(reader);

    feed.Change(1, true, 2000us);
    feed.Publish();

    EXPECT_THAT(Next(reader), HasSubstr(R"("changes":[[1,0,0,2000,21,1]])"));
}

TEST_F(PanelFeedTest, KeepsPatternsThatAnEyeCanFollowAsTheyWere) {
    for (int i = 0; i < 40; ++i)
        feed.Change(1, i % 2 == 0, 2ms * i);

    EXPECT_THAT(Next(reader), HasSubstr("[1,39,78000,78000,1,0]"));
}

TEST_F(PanelFeedTest, GivesOlderChangesPartByPart) {
    constexpr std::size_t COUNT = 2 * PanelFeed::MOST_AT_ONCE + 1;
    for (std::size_t i = 0; i < COUNT; ++i)
        feed.Change(1, i % 2 == 0, 1s * i);
    EXPECT_THAT(Next(reader), HasSubstr("\"changes\":[[1," + std::to_string(COUNT - PanelFeed::MOST_AT_ONCE) + ","));

    const std::string newer = feed.Older(1, COUNT - PanelFeed::MOST_AT_ONCE).value_or("");
    EXPECT_THAT(newer, testing::StartsWith("{\"changes\":[[1,1,1000000,1000000,1,0],[1,2,"));
    EXPECT_THAT(newer, testing::EndsWith(",[1,2048,2048000000,2048000000,1,1]],\"more\":true}"));
    EXPECT_EQ(feed.Older(1, 1), R"({"changes":[[1,0,0,0,1,1]],"more":false})");
    EXPECT_EQ(feed.Older(1, 0), R"({"changes":[],"more":false})");
    EXPECT_EQ(feed.Older(0, 7), R"({"changes":[],"more":false})");
    EXPECT_EQ(feed.Older(3, 7), std::nullopt);
}

TEST_F(PanelFeedTest, KeepsABoundedNumberOfChanges) {
    for (std::size_t i = 0; i < PanelFeed::KEPT_CHANGES + 1; ++i)
        feed.Change(1, i % 2 == 0, 1s * i);

    EXPECT_THAT(feed.Older(1, 3).value_or(""), HasSubstr("\"changes\":[[1,1,"));
    EXPECT_EQ(feed.Older(1, 1), R"({"changes":[],"more":false})");
}

TEST_F(PanelFeedTest, BeginsAgainWithAReaderThatIsFarBehind) {
    Next(reader);
    for (std::size_t i = 0; i < PanelFeed::MOST_AT_ONCE; ++i)
        feed.Change(1, i % 2 == 0, 1s * i);
    feed.Publish();
    EXPECT_THAT(Next(reader), testing::AllOf(Not(HasSubstr("\"board\"")), HasSubstr("\"changes\":[[1,0,")));

    for (std::size_t i = 0; i < PanelFeed::MOST_AT_ONCE + 1; ++i)
        feed.Change(1, i % 2 == 0, 1s * (i + PanelFeed::MOST_AT_ONCE));
    feed.Publish();
    EXPECT_THAT(Next(reader), testing::AllOf(HasSubstr("\"board\""), HasSubstr("\"changes\":[[1,2049,")));
}

TEST_F(PanelFeedTest, SaysTheTimeWithoutNews) {
    feed.Change(2, true, 1ms);
    const std::string message = feed.TimeMessage();

    EXPECT_THAT(message, testing::StartsWith("{\"now\":"));
    EXPECT_THAT(message, testing::EndsWith(",\"levels\":\"101\",\"changes\":[]}"));
}

TEST_F(PanelFeedTest, SaysTheStateForAPicture) {
    feed.Change(2, true, 1ms);
    feed.Status("program", "1");

    EXPECT_EQ(feed.Levels(), "101");
    EXPECT_EQ(feed.StatusOf("program"), "1");
    EXPECT_EQ(feed.StatusOf("other"), "");
}

TEST_F(PanelFeedTest, ForgetsTheOldestForASlowReader) {
    Next(reader);
    for (std::size_t i = 0; i < PanelFeed::MOST_AT_ONCE + 1; ++i)
        feed.Change(1, i % 2 == 0, 1s * i);
    for (std::size_t i = 0; i < PanelFeed::KEPT_RECORDS + 1; ++i)
        feed.Record(PanelFeed::Log::SYSTEM, "r" + std::to_string(i) + ".", 1s);
    feed.Record(PanelFeed::Log::WEB, std::string(3 * PanelFeed::LONGEST_RECORD, 'x'), 1s);
    feed.Publish();

    const std::string message = Next(reader);

    EXPECT_THAT(message, Not(HasSubstr("[1,0,")));
    EXPECT_THAT(message, HasSubstr("[1,1,"));
    EXPECT_THAT(message, Not(HasSubstr("\"r0.\"")));
    EXPECT_THAT(message, HasSubstr("\"r1.\""));
    EXPECT_THAT(message, HasSubstr(std::string(PanelFeed::LONGEST_RECORD, 'x').append("...\"")));
}

TEST_F(PanelFeedTest, ReplacesBytesThatAreNoText) {
    feed.Record(PanelFeed::Log::SYSTEM, "a\xFF\nb", 1ms);

    EXPECT_THAT(Next(reader), HasSubstr("\"a\xEF\xBF\xBD\\nb\""));
}

TEST_F(PanelFeedTest, TellsWhatIsLeftBeforeItEnds) {
    Next(reader);
    feed.Status("program", "1");

    feed.Close();

    EXPECT_THAT(feed.Next(reader, 20s).value_or(""), HasSubstr("\"program\":1"));
    EXPECT_EQ(feed.Next(reader, 20s), std::nullopt);
    feed.Pause(20s);
}

} // namespace
} // namespace VelrixBoard
