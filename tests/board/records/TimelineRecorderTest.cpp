// SPDX-License-Identifier: Apache-2.0
#include "board/records/TimelineRecorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "board/timeline/VcdReader.h"
#include "tests/board/CommandRun.h"

namespace VelrixBoard {
namespace {

using std::chrono::milliseconds;
using testing::HasSubstr;

std::string Order(const Signal& signal) {
    std::string text = signal.initial ? "1" : "0";
    for (const Change& change : signal.changes)
        text += change.level ? " 1" : " 0";
    return text;
}

TEST(TimelineRecorderTest, RecordsEveryLineAndLedElementByName) {
    const TestSupport::TemporaryFolder folder;
    const BoardModel model;
    BoardState state(model);
    TimelineRecorder recorder(folder.Path("run.vcd"), state);
    state.Add(recorder);

    state.Set(state.Count() - 1, true, milliseconds(3));
    recorder.Finish(milliseconds(5));

    const Timeline timeline = ReadVcd(folder.Path("run.vcd"));
    ASSERT_EQ(timeline.signals.size(), state.Count());
    for (std::size_t i = 0; i < state.Count(); ++i) {
        EXPECT_EQ(timeline.signals[i].name, SignalName(state.Name(i)));
        EXPECT_EQ(timeline.signals[i].initial, i + 1 != state.Count() && state.Level(i)) << state.Name(i);
    }
    EXPECT_EQ(timeline.signals.back().changes, (std::vector<Change>{{milliseconds(3), true}}));
    EXPECT_EQ(timeline.end, milliseconds(5));
}

TEST(TimelineRecorderTest, SaysAtTheEndThatTheDiskIsFull) {
    const BoardModel model;
    BoardState state(model);
    try {
        TimelineRecorder recorder("/dev/full", state);
        recorder.OnChange(0, true, milliseconds(1));
        recorder.Finish(milliseconds(2));
        FAIL() << "a full disk went unnoticed";
    } catch (const TimelineError& error) {
        EXPECT_THAT(error.what(), HasSubstr("cannot write the timeline /dev/full: No space left"));
    }
}

TEST(TimelineRecorderTest, RecordsAProgramOnTheBoard) {
    const TestSupport::TemporaryFolder folder;

    const CommandEnd end = CommandRun{OnBoard("printf 1 > /var/dev/gpio-outputs/oxboResetN/value;"
                                              "while grep -q 1 /var/dev/gpio-inputs/oxboIrqN/value; do :; done; exit 7",
                                              {"--timeline", folder.Path("run.vcd"), "--set", "OXBO_MOD_1=1"})}
                               .Run();

    EXPECT_EQ(end.ExitCode(), 7) << end.errors;
    const Timeline timeline = ReadVcd(folder.Path("run.vcd"));
    EXPECT_EQ(Order(*timeline.Find("OXBO_RESET1_N")), "0 1");
    EXPECT_EQ(Order(*timeline.Find("OXBO_IRQ_N")), "1 0");
    EXPECT_EQ(Order(*timeline.Find("OXBO_MOD_1")), "1");
    EXPECT_EQ(Order(*timeline.Find("MS_red")), "0");
    const auto pause = timeline.Find("OXBO_IRQ_N")->changes[0].time - timeline.Find("OXBO_RESET1_N")->changes[0].time;
    EXPECT_GE(pause, milliseconds(40));
    EXPECT_GE(timeline.end, timeline.Find("OXBO_IRQ_N")->changes[0].time);
}

TEST(TimelineRecorderTest, RefusesAFileThatItCannotMakeBeforeTheProgramRuns) {
    const CommandEnd end = CommandRun{OnBoard("echo ran", {"--timeline", "/none/run.vcd"})}.Run();

    EXPECT_EQ(end.ExitCode(), 125);
    EXPECT_EQ(end.output, "");
    EXPECT_THAT(end.errors, HasSubstr("velrix-board: cannot write the timeline /none/run.vcd: No such file"));
}

} // namespace
} // namespace VelrixBoard
