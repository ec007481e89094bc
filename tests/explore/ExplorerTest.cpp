// SPDX-License-Identifier: Apache-2.0
// The search with a fake program: which cases it makes, and what it makes of their results.
#include "board/explore/Explorer.h"

#include <algorithm>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/scenario/Names.h"

namespace VelrixBoard {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

bool Has(const Circumstances& circumstances, const std::string& action) {
    return std::any_of(circumstances.begin(), circumstances.end(),
                       [&](const Circumstance& each) { return each.action.find(action) != std::string::npos; });
}

class ExplorerTest : public testing::Test {
protected:
    // What the program does in a case.
    std::function<TrialResult(const Circumstances&)> program = [](const Circumstances&) { return TrialResult{}; };
    std::vector<Circumstances> played;
    std::size_t most = SIZE_MAX; // the user stops after so many

    Explorer::RunAll Run() {
        return [this](const std::vector<Circumstances>& cases) {
            std::vector<TrialResult> results;
            for (const Circumstances& each : cases) {
                if (played.size() == most)
                    break;
                played.push_back(each);
                results.push_back(program(each));
            }
            return results;
        };
    }
    Explorer Make(std::uint64_t seed = 7) {
        return {CircumstanceMaker(NAMES, ExploreBounds(), seed), Run(),
                [this](const auto& progress) { sum = progress; }};
    }

    Progress sum;
};

TEST_F(ExplorerTest, RunsTheProgramAloneAndThenWithCircumstances) {
    Make().Search(50);

    ASSERT_EQ(played.size(), 50U);
    EXPECT_TRUE(played[0].empty());
    for (std::size_t i = 1; i < played.size(); ++i) {
        EXPECT_GE(played[i].size(), 1U);
        EXPECT_LE(played[i].size(), ExploreBounds().most);
    }
    EXPECT_EQ(sum.runs, 50);
}

TEST_F(ExplorerTest, DoesTheSameWithTheSameSeed) {
    Make().Search(40);
    const auto first = std::move(played);
    played.clear();
    Make().Search(40);
    EXPECT_EQ(played, first);
    played.clear();
    Make(8).Search(40);
    EXPECT_NE(played, first);
}

TEST_F(ExplorerTest, ReportsEachFailureOnceWithTheFewestCircumstances) {
    program = [](const Circumstances& circumstances) {
        TrialResult result;
        if (Has(circumstances, "module ready never"))
            result = {"no answer", "no answer at 1 s"};
        else if (Has(circumstances, "fault NS.red EIO"))
            result = {"an LED", "an LED failed"};
        return result;
    };
    Explorer explorer = Make();

    explorer.Search(600);

    ASSERT_EQ(explorer.Failures().size(), 2U);
    for (const FoundFailure& failure : explorer.Failures()) {
        ASSERT_EQ(failure.circumstances.size(), 1U) << failure.failure;
        EXPECT_EQ(failure.circumstances[0].after, ScenarioTime(0));
        EXPECT_GT(failure.run, 1);
    }
    EXPECT_EQ(explorer.Sum().runs, 600);
}

TEST_F(ExplorerTest, KeepsWhatAFailureNeeds) {
    // Two circumstances, of which the second one must come 200 ms later at least.
    program = [](const Circumstances& circumstances) {
        TrialResult result;
        for (const Circumstance& each : circumstances)
            if (each.after >= milliseconds(200) && each.action == "set OXBO_IRQ_N low" &&
                Has(circumstances, "set QOR_DPRAM_BUSY_N"))
                result = {"both", "both"};
        return result;
    };
    Explorer explorer = Make();

    explorer.Search(2'000);

    ASSERT_EQ(explorer.Failures().size(), 1U);
    const Circumstances& needed = explorer.Failures()[0].circumstances;
    ASSERT_EQ(needed.size(), 2U);
    EXPECT_EQ(std::max(needed[0].after, needed[1].after) % milliseconds(100), ScenarioTime(0)) << "a round time";
}

TEST_F(ExplorerTest, LetsThingsHappenAtEventsThatItSaw) {
    program = [](const Circumstances&) { return TrialResult{"", "", {"x"}, {"OXBO_RESET1_N is high"}}; };

    Make().Search(100);

    const auto atEvents = std::count_if(played.begin(), played.end(), [](const Circumstances& each) {
        return std::any_of(each.begin(), each.end(),
                           [](const Circumstance& one) { return one.trigger == "OXBO_RESET1_N is high"; });
    });
    EXPECT_GT(atEvents, 30);
}

TEST_F(ExplorerTest, GoesOnFromWhatShowedSomethingNew) {
    // Each further one of these shows something new.
    const auto depth = [](const Circumstances& circumstances) {
        return std::count_if(circumstances.begin(), circumstances.end(),
                             [](const Circumstance& each) { return each.action.starts_with("fault MS."); });
    };
    program = [&](const Circumstances& circumstances) {
        TrialResult result;
        result.features = {"depth " + std::to_string(depth(circumstances))};
        return result;
    };

    Make().Search(400);

    EXPECT_GT(std::count_if(played.begin(), played.end(), [&](const auto& each) { return depth(each) >= 2; }), 40);
}

TEST_F(ExplorerTest, PlaysKnownFailuresFirst) {
    const Circumstances fixed = {{PROGRAM_STARTS, milliseconds(5), "fault MS.red EIO"}};
    const Circumstances old = {{PROGRAM_STARTS, milliseconds(5), "module ready never"}};
    program = [](const Circumstances& circumstances) {
        return Has(circumstances, "never") ? TrialResult{"known", "known"} : TrialResult{};
    };
    Explorer explorer = Make();

    const std::vector<TrialResult> results = explorer.PlayKnown({fixed, old});
    explorer.Search(100);

    EXPECT_EQ(played[0], fixed);
    EXPECT_EQ(played[1], old);
    ASSERT_EQ(results.size(), 2U);
    EXPECT_EQ(results[0].failure, "");
    EXPECT_EQ(results[1].failure, "known");
    ASSERT_EQ(explorer.Failures().size(), 1U);
    EXPECT_EQ(explorer.Failures()[0].known, 1U);
    EXPECT_EQ(explorer.Sum().runs, 100);
    EXPECT_EQ(explorer.Sum().extraRuns, 2) << "a known failure is not shrunk again";
}

TEST_F(ExplorerTest, SearchesTheSameWhateverIsKnown) {
    program = [](const Circumstances& circumstances) {
        TrialResult result;
        for (const Circumstance& each : circumstances)
            result.features.insert(each.action);
        result.events = {circumstances.empty() ? "MS is red" : "MS is green"};
        return result;
    };
    Make().Search(60);
    const auto alone = std::move(played);
    played.clear();

    Explorer explorer = Make();
    explorer.PlayKnown({{{PROGRAM_STARTS, milliseconds(5), "module ready never"}}});
    explorer.Search(60);

    played.erase(played.begin());
    EXPECT_EQ(played, alone);
}

TEST_F(ExplorerTest, SaysWhatDoesNotShowAgain) {
    int runs = 0;
    program = [&](const Circumstances&) { return ++runs == 5 ? TrialResult{"rare", "rare"} : TrialResult{}; };
    Explorer explorer = Make();

    explorer.Search(17);

    ASSERT_EQ(explorer.Failures().size(), 1U);
    EXPECT_FALSE(explorer.Failures()[0].isRepeatable);
    EXPECT_EQ(explorer.Failures()[0].circumstances, played[4]);
    EXPECT_EQ(explorer.Sum().extraRuns, 1);
}

TEST_F(ExplorerTest, EndsEarlyWhereEverythingFails) {
    int runs = 0;
    program = [&](const Circumstances&) {
        const std::string failure = "number " + std::to_string(++runs);
        return TrialResult{failure, failure};
    };
    Explorer explorer = Make();

    explorer.Search(10'000);

    EXPECT_GE(explorer.Failures().size(), Explorer::MOST_FAILURES);
    EXPECT_LT(explorer.Failures().size(), Explorer::MOST_FAILURES + Explorer::GENERATION);
    EXPECT_LT(explorer.Sum().runs, 100);
}

TEST_F(ExplorerTest, EndsWhenTheUserStops) {
    most = 20;
    program = [](const Circumstances& circumstances) {
        return circumstances.empty() ? TrialResult{} : TrialResult{"fails", "fails"};
    };
    Explorer explorer = Make();

    explorer.Search(1'000);

    EXPECT_EQ(played.size(), 20U);
    EXPECT_EQ(explorer.Failures().size(), 1U);
}

TEST_F(ExplorerTest, BoundsTheRunsThatShrinkAFailure) {
    int fails = 0;
    program = [&](const Circumstances& circumstances) {
        fails += circumstances.empty() ? 0 : 1;
        return circumstances.empty() ? TrialResult{} : TrialResult{"fails", "fails"};
    };
    Explorer explorer = Make();
    explorer.Search(2);
    EXPECT_LE(fails, 1 + Explorer::MOST_SHRINKING);
    EXPECT_EQ(explorer.Failures().at(0).circumstances.size(), 1U);
}

} // namespace
} // namespace VelrixBoard
