// SPDX-License-Identifier: Apache-2.0
#include "board/timeline/Difference.h"

#include <gtest/gtest.h>

using namespace VelrixBoard;
using std::chrono::milliseconds;

namespace {

using Texts = std::vector<std::string>;

Timeline RunOf(std::vector<Signal> signals) {
    return {std::move(signals), milliseconds(5'000)};
}

const Timeline A = RunOf({{"OXBO_IRQ_N", true, {{milliseconds(100), false}}},
                          {"MS_red", false, {{milliseconds(1'250), true}, {milliseconds(1'500), false}}}});

} // namespace

TEST(Difference, FindsNoneBetweenARunAndItself) {
    EXPECT_EQ(Difference(A, A, {}), Texts{});
}

TEST(Difference, SaysInWordsWhatCameLaterAndEarlier) {
    const Timeline b = RunOf({{"OXBO_IRQ_N", true, {{milliseconds(60), false}}},
                              {"MS_red", false, {{milliseconds(1'288), true}, {milliseconds(1'501), false}}}});

    EXPECT_EQ(Difference(A, b, {}), (Texts{"OXBO_IRQ_N low 40 ms earlier: 60 ms instead of 100 ms",
                                           "MS red 38 ms later: 1.288 s instead of 1.250 s",
                                           "MS red off 1.0 ms later: 1.501 s instead of 1.500 s"}));
}

TEST(Difference, LetsPassWhatIsWithinTheTolerance) {
    const Timeline b = RunOf({{"OXBO_IRQ_N", true, {{milliseconds(80), false}}},
                              {"MS_red", false, {{milliseconds(1'271), true}, {milliseconds(1'500), false}}}});

    EXPECT_EQ(Difference(A, b, {.tolerance = milliseconds(20)}),
              Texts{"MS red 21 ms later: 1.271 s instead of 1.250 s"});
    EXPECT_EQ(Difference(A, b, {.tolerance = milliseconds(21)}), Texts{});
}

TEST(Difference, TellsMissingAndAdditionalChanges) {
    const Timeline b =
        RunOf({{"OXBO_IRQ_N", true, {{milliseconds(100), false}, {milliseconds(300), true}}}, {"MS_red", false, {}}});

    EXPECT_EQ(Difference(A, b, {}), (Texts{"OXBO_IRQ_N has 1 change more, the first at 300 ms",
                                           "MS_red lacks 2 changes, the first at 1.250 s"}));
}

TEST(Difference, TellsAnotherBeginningAndMissingSignals) {
    const Timeline b = RunOf({{"OXBO_IRQ_N", false, {}}, {"NS_green", false, {}}});

    EXPECT_EQ(Difference(A, b, {}),
              (Texts{"OXBO_IRQ_N begins low instead of high", "OXBO_IRQ_N lacks 1 change, the first at 100 ms",
                     "MS_red is missing in the second recording", "NS_green is missing in the first recording"}));
}

TEST(Difference, CanCountFromTheFirstChangeOfEachRun) {
    const Timeline b = RunOf({{"OXBO_IRQ_N", true, {{milliseconds(900), false}}},
                              {"MS_red", false, {{milliseconds(2'050), true}, {milliseconds(2'310), false}}}});

    EXPECT_EQ(Difference(A, b, {.fromFirstChange = true}), Texts{"MS red off 10 ms later: 1.410 s instead of 1.400 s"});
}

TEST(Difference, CanPassOverGlitches) {
    const Timeline b = RunOf({{"OXBO_IRQ_N", true, {{milliseconds(100), false}}},
                              {"MS_red",
                               false,
                               {{milliseconds(700), true},
                                {milliseconds(701), false},
                                {milliseconds(1'250), true},
                                {milliseconds(1'500), false}}}});

    EXPECT_EQ(Difference(A, b, {.glitch = milliseconds(1)}), Texts{});
    EXPECT_EQ(Difference(A, b, {}).size(), 3U);
}

TEST(Difference, SeesARunWithoutChangesBeginAtItsEnd) {
    EXPECT_EQ(RunOf({{"A", false, {}}}).FirstChange(), milliseconds(5'000));
    EXPECT_EQ(A.FirstChange(), milliseconds(100));
}
