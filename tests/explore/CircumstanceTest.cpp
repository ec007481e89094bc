// SPDX-License-Identifier: Apache-2.0
#include "board/explore/CircumstanceMaker.h"

#include <set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "board/base/BoardError.h"
#include "board/explore/Behaviour.h"
#include "board/explore/FailureStore.h"
#include "board/scenario/ScenarioParser.h"
#include "tests/scenario/Names.h"
#include "tests/support/TemporaryFolder.h"

namespace VelrixBoard {
namespace {

using std::chrono::microseconds;
using std::chrono::milliseconds;
using std::chrono::seconds;

TEST(Circumstance, IsAStepOfAScenario) {
    EXPECT_EQ(LineOf({PROGRAM_STARTS, ScenarioTime(0), "fault MS.red missing"}),
              "when program starts fault MS.red missing");
    EXPECT_EQ(LineOf({"MS is red", milliseconds(1500), "set OXBO_IRQ_N low"}),
              "when MS is red after 1500ms set OXBO_IRQ_N low");
    EXPECT_EQ(LineOf({"MS is red", microseconds(1), "send TERM"}), "when MS is red after 1us send TERM");
    EXPECT_EQ(LineOf({"MS is red", seconds(7200), "send TERM"}), "when MS is red after 7200s send TERM");
}

TEST(CircumstanceMaker, MakesStepsOfEveryKindThatTheParserTakes) {
    ExploreBounds bounds;
    bounds.signals = {"HUP"};
    CircumstanceMaker maker(NAMES, bounds, 3);
    maker.AddEvent("OXBO_RESET1_N is high");
    std::set<std::string> kinds;
    Circumstances last;
    for (int i = 0; i < 1'000; ++i) {
        last = i % 2 == 0 ? maker.Make() : maker.Vary(last);
        ASSERT_GE(last.size(), 1U);
        ASSERT_LE(last.size(), bounds.most);
        for (const Circumstance& each : last) {
            ASSERT_EQ(ParseScenario("x", LineOf(each), NAMES).steps.size(), 1U);
            kinds.insert(each.action.substr(0, each.action.find(' ')));
            if (each.action.starts_with("set clock"))
                kinds.insert("clock");
            if (each.trigger != PROGRAM_STARTS)
                kinds.insert("event");
        }
    }
    EXPECT_THAT(kinds, testing::ElementsAre("clock", "event", "fault", "module", "send", "set"));
}

TEST(CircumstanceMaker, LeavesOutWhatHasNoWeight) {
    ExploreBounds bounds;
    for (auto& [kind, weight] : bounds.weights)
        weight = kind == "fault" ? 1 : 0;
    CircumstanceMaker maker(NAMES, bounds, 3);
    for (int i = 0; i < 200; ++i)
        for (const Circumstance& each : maker.Make())
            EXPECT_TRUE(each.action.starts_with("fault ")) << each.action;
}

TEST(CircumstanceMaker, KeepsToTheSignalsThatTheBoundsName) {
    ExploreBounds bounds;
    bounds.broken = {"OXBO_IRQ_N"};
    bounds.inputs = {"QOR_DPRAM_BUSY_N"};
    CircumstanceMaker maker(NAMES, bounds, 3);
    for (int i = 0; i < 200; ++i)
        for (const Circumstance& each : maker.Make()) {
            if (each.action.starts_with("fault ") && each.action != "fault web log ENOSPC") {
                EXPECT_THAT(each.action, testing::StartsWith("fault OXBO_IRQ_N "));
                EXPECT_THAT(each.action, testing::Not(testing::HasSubstr("ENOSPC"))) << "nobody writes to an input";
            }
            if (each.action.starts_with("set ") && !each.action.starts_with("set clock ")) {
                EXPECT_THAT(each.action, testing::StartsWith("set QOR_DPRAM_BUSY_N "));
            }
        }

    bounds.broken = {"MS.blue"};
    EXPECT_THROW(CircumstanceMaker(NAMES, bounds, 3), BoardError);
    bounds.broken = {};
    bounds.inputs = {"OXBO_RL"};
    EXPECT_THROW(CircumstanceMaker(NAMES, bounds, 3), BoardError);
}

TEST(ExploreBounds, AreReadAsTheyArePrinted) {
    const TestSupport::TemporaryFolder folder;
    ExploreBounds bounds;
    bounds.most = 2;
    bounds.latest = milliseconds(1500);
    bounds.signals = {"HUP"};
    bounds.broken = {"MS.red"};
    bounds.inputs = {"OXBO_IRQ_N"};
    bounds.weights["clock"] = 0;
    folder.Write("bounds.json", ToJson(bounds));

    EXPECT_EQ(ToJson(ReadBounds(folder.Path("bounds.json"))), ToJson(bounds));
    folder.Write("few.json", R"({"latest": "2s"})");
    EXPECT_EQ(ReadBounds(folder.Path("few.json")).latest, seconds(2));
    EXPECT_EQ(ReadBounds(folder.Path("few.json")).most, ExploreBounds().most);
}

TEST(ExploreBounds, SayWhatIsWrong) {
    const TestSupport::TemporaryFolder folder;
    const struct {
        const char* text;
        const char* reason;
    } rows[] = {
        {"[]", "takes an object"},
        {"{", ".json: parse error at line 1, column 2: "},
        {R"({"latest": 2})", "\"latest\" takes a time such as \"500ms\""},
        {R"({"latests": "2s"})", "there is no bound \"latests\""},
        {R"({"circumstances": 0})", "\"circumstances\" takes a number from 1 to 16"},
        {R"({"circumstances": 17})", "\"circumstances\" takes a number from 1 to 16"},
        {R"({"faults": ["EPERM"]})", "\"EPERM\" is no fault"},
        {R"({"faults": "EIO"})", "\"faults\" takes a list of texts"},
        {R"({"broken": [1]})", "\"broken\" takes a list of texts"},
        {R"({"inputs": "OXBO_IRQ_N"})", "\"inputs\" takes a list of texts"},
        {R"({"signals": ["STOPP"]})", "there is no signal \"STOPP\""},
        {R"({"weights": {"faults": 1}})", "there is no kind of circumstance \"faults\""},
        {R"({"weights": {"fault": -1}})", "the weight of \"fault\" is a number from 0 to 1000"},
        {R"({"weights": {"module":0,"level":0,"glitch":0,"fault":0,"missing":0,"disk":0,"clock":0,"signal":0}})",
         "all weights are 0"},
    };
    for (const auto& row : rows) {
        folder.Write("bounds.json", row.text);
        try {
            ReadBounds(folder.Path("bounds.json"));
            ADD_FAILURE() << row.text;
        } catch (const std::exception& error) {
            EXPECT_THAT(error.what(), testing::HasSubstr(row.reason));
            EXPECT_THAT(error.what(), testing::StartsWith(folder.Path("bounds.json")));
        }
    }
    EXPECT_ANY_THROW(ReadBounds(folder.Path("none")));
}

TEST(Behaviour, IsWhichChangeFollowedWhichAndWhatWasLogged) {
    Timeline timeline;
    timeline.signals = {{"OXBO_RESET1_N", false, {{milliseconds(1), true}, {milliseconds(9), false}}},
                        {"MS_green", false, {{milliseconds(5), true}}}};
    EXPECT_THAT(FeaturesOf(timeline, {"took 12 ms", "took 7 ms"}),
                testing::UnorderedElementsAre("start, OXBO_RESET1_N high", "OXBO_RESET1_N high, MS_green high",
                                              "MS_green high, OXBO_RESET1_N low", "OXBO_RESET1_N low, end",
                                              "log took # ms"));
    EXPECT_THAT(EventsOf(timeline, NAMES),
                testing::ElementsAre("OXBO_RESET1_N is high", "MS is green", "OXBO_RESET1_N is low"));
}

TEST(Behaviour, LeavesNumbersOut) {
    EXPECT_EQ(WithoutNumbers("at 1.250 s: 0x7ffe12ab, process 17"), "at #.# s: #x#, process #");
    EXPECT_EQ(WithoutNumbers("no number"), "no number");
}

class FailureStoreTest : public testing::Test {
protected:
    FailureStoreTest() { folder.Write("my.scenario", "wait 1s\n"); }

    const TestSupport::TemporaryFolder folder;
    const FailureStore store{folder.Path("failures")};
    TrialSetup setup{
        "velrix-board", {"--set", "OXBO_IRQ_N=0"}, folder.Path("my.scenario"), std::nullopt, {"program", "argument"}};
    const Circumstances circumstances = {{PROGRAM_STARTS, ScenarioTime(0), "module ready after 250ms"},
                                         {"MS is green", milliseconds(3), "fault NS.red EIO"}};
};

TEST_F(FailureStoreTest, GivesBackWhatItWrote) {
    EXPECT_TRUE(store.Read().empty());

    const auto file = store.Write({"a failure", "a failure\nat 3 s", circumstances, 5}, setup);
    store.Write({"a failure", "the same", circumstances, 6}, setup);
    folder.Write("failures/other.scenario", "when MS is red send TERM\n");

    ASSERT_EQ(store.Read().size(), 1U);
    EXPECT_EQ(store.Read()[0].file, file);
    EXPECT_EQ(store.Read()[0].circumstances, circumstances);
}

TEST_F(FailureStoreTest, LeavesNoPartOfWhatItCannotWrite) {
    const FoundFailure failure{"a failure", "a failure", circumstances, 5};
    std::filesystem::create_directories(store.FileOf(failure));

    EXPECT_THROW(store.Write(failure, setup), BoardError);

    const std::filesystem::directory_iterator entries(folder.Path("failures"));
    EXPECT_EQ(std::distance(begin(entries), end(entries)), 1);
}

TEST_F(FailureStoreTest, KnowsBeforeWhatItCannotWriteTo) {
    folder.Write("file", "");

    EXPECT_THROW(FailureStore(folder.Path("file")).RequireWritable(), BoardError);
    EXPECT_THROW(FailureStore(folder.Path("file/failures")).RequireWritable(), BoardError);

    EXPECT_NO_THROW(FailureStore(folder.Path("some/new/folder")).RequireWritable());
    EXPECT_FALSE(std::filesystem::exists(folder.Path("some")));
}

TEST_F(FailureStoreTest, WritesACommandThatAShellTakes) {
    setup.program = {"/bin/sh", "-c", "echo 'it is' $1", ""};

    const auto file = store.Write({"a failure", "at 3 s", circumstances, 5}, setup);

    EXPECT_THAT(folder.Read("failures/" + file.filename().string()),
                testing::HasSubstr(" -- /bin/sh -c 'echo '\\''it is'\\'' $1' ''\n"));
}

TEST_F(FailureStoreTest, WritesAScenarioThatIncludesTheUsers) {
    const auto file = store.Write({"a failure", "at 3 s", circumstances, 5}, setup);

    const Scenario scenario = ReadScenario(file, NAMES);

    EXPECT_EQ(scenario.steps.back().text, "wait 1s");
    EXPECT_THAT(folder.Read("failures/" + file.filename().string()),
                testing::AllOf(testing::StartsWith("# at 3 s\n# velrix-board run --time virtual --scenario " +
                                                   file.string() + " --set OXBO_IRQ_N=0 -- program argument\n"),
                               testing::HasSubstr("\ninclude \"../my.scenario\"\n")));
}

TEST_F(FailureStoreTest, ReadsNoCircumstancesFromWhatEndsARun) {
    setup.scenario.clear();
    setup.length = seconds(30);
    const auto file = store.Write({"a failure", "at 3 s", {}, 1}, setup);

    const Scenario scenario = ReadScenario(file, NAMES);

    EXPECT_EQ(scenario.steps.back().text, "within 35s program ends");
    ASSERT_EQ(store.Read().size(), 1U);
    EXPECT_TRUE(store.Read()[0].circumstances.empty());
}

} // namespace
} // namespace VelrixBoard
