// SPDX-License-Identifier: Apache-2.0
#include "board/timeline/VcdReader.h"
#include "board/timeline/VcdWriter.h"

#include <filesystem>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

#include "tests/support/TemporaryFolder.h"

using namespace VelrixBoard;
using std::chrono::microseconds;

namespace {

class VcdTest : public testing::Test {
protected:
    std::string Path() const { return folder.Path() + "/run.vcd"; }

    std::string Written() const {
        std::ifstream input(Path());
        std::stringstream text;
        text << input.rdbuf();
        return text.str();
    }

    Timeline Read(const std::string& text) const {
        std::ofstream(Path()) << text;
        return ReadVcd(Path());
    }

    const TestSupport::TemporaryFolder folder;
};

const std::string HEADER =
    "$timescale 1 us $end\n$scope module board $end\n$var wire 1 ! A $end\n$var wire 1 \" B $end\n"
    "$upscope $end\n$enddefinitions $end\n";

} // namespace

TEST_F(VcdTest, WritesScalarWiresWithAChangeAStamp) {
    VcdWriter writer(Path(), {{"OXBO_IRQ_N", true, {}}, {"MS.green", false, {}}});
    writer.Write(1, true, microseconds(12));
    writer.Write(0, false, microseconds(250'000));
    writer.Finish(microseconds(300'000));

    EXPECT_EQ(Written(),
              "$timescale 1 us $end\n$scope module board $end\n$var wire 1 ! OXBO_IRQ_N $end\n"
              "$var wire 1 \" MS_green $end\n$upscope $end\n$enddefinitions $end\n#0\n$dumpvars\n1!\n0\"\n$end\n"
              "#12\n1\"\n#250000\n0!\n#300000\n");
}

TEST_F(VcdTest, KeepsChangesOfOneInstantAndOfAnEarlierOneApart) {
    VcdWriter writer(Path(), {{"A", false, {}}, {"B", false, {}}});
    writer.Write(0, true, microseconds(0));
    writer.Write(1, true, microseconds(0));
    writer.Write(0, false, microseconds(-5));
    writer.Finish(microseconds(2));

    const Timeline timeline = ReadVcd(Path());

    EXPECT_EQ(timeline.Find("A")->changes, (std::vector<Change>{{microseconds(1), true}, {microseconds(3), false}}));
    EXPECT_EQ(timeline.Find("B")->changes, (std::vector<Change>{{microseconds(2), true}}));
    EXPECT_EQ(timeline.end, microseconds(4));
}

TEST_F(VcdTest, CanBeReadWhileItIsWritten) {
    VcdWriter writer(Path(), {{"A", false, {}}});
    writer.Write(0, true, microseconds(7));

    EXPECT_EQ(ReadVcd(Path()).Find("A")->changes, (std::vector<Change>{{microseconds(7), true}}));
}

TEST_F(VcdTest, ReadsBackWhatWasWritten) {
    const Timeline written{{{"A", true, {{microseconds(3), false}, {microseconds(9), true}}}, {"B", false, {}}},
                           microseconds(20)};
    {
        VcdWriter writer(Path(), written.signals);
        for (const Change& change : written.signals[0].changes)
            writer.Write(0, change.level, change.time);
        writer.Finish(written.end);
    }

    EXPECT_EQ(ReadVcd(Path()), written);
}

TEST_F(VcdTest, TakesNinetyFourSignalsAndNoMore) {
    std::vector<Signal> signals;
    for (int i = 0; i < 94; ++i)
        signals.push_back({"S" + std::to_string(i), i % 2 == 0, {}});
    VcdWriter writer(Path(), signals);
    writer.Finish(microseconds(1));

    EXPECT_EQ(ReadVcd(Path()).signals, signals);
    signals.push_back({"ONE_TOO_MANY", false, {}});
    EXPECT_THROW(VcdWriter(folder.Path() + "/other.vcd", signals), TimelineError);
}

TEST_F(VcdTest, SaysWhyAFileCannotBeWritten) {
    try {
        VcdWriter writer(folder.Path() + "/absent/run.vcd", {{"A", false, {}}});
        FAIL();
    } catch (const TimelineError& error) {
        EXPECT_EQ(error.what(),
                  "cannot write the timeline " + folder.Path() + "/absent/run.vcd: No such file or directory");
    }
    try {
        VcdWriter writer("/dev/full", {{"A", false, {}}});
        FAIL();
    } catch (const TimelineError& error) {
        EXPECT_STREQ(error.what(), "cannot write the timeline /dev/full: No space left on device");
    }
}

TEST_F(VcdTest, ReadsEveryTimeScale) {
    struct {
        const char* scale;
        const char* stamp;
        long long us;
    } const ROWS[] = {{"1 s", "2", 2'000'000}, {"100 ms", "3", 300'000}, {"10ms", "5", 50'000},    {"1us", "7", 7},
                      {"1 ns", "7999", 7},     {"10 ps", "1000000", 10}, {"1 fs", "5000000000", 5}};
    for (const auto& row : ROWS) {
        SCOPED_TRACE(row.scale);
        const Timeline timeline =
            Read("$timescale " + std::string(row.scale) + " $end $var wire 1 ! A $end #0 0! #" + row.stamp + " 1!");
        EXPECT_EQ(timeline.end, microseconds(row.us));
        EXPECT_EQ(timeline.signals[0].changes, (std::vector<Change>{{microseconds(row.us), true}}));
    }
}

TEST_F(VcdTest, PassesOverCommentsAndRepeatedLevels) {
    const Timeline timeline =
        Read("$comment made by hand, 1! is not read $end\n" + HEADER + "#0 x! 1\"\n#5 0! 1\"\n#6 1! z\"");

    EXPECT_EQ(timeline.signals,
              (std::vector<Signal>{{"A", false, {{microseconds(6), true}}}, {"B", true, {{microseconds(6), false}}}}));
}

TEST_F(VcdTest, TakesALevelThatIsFirstToldLaterForAChange) {
    EXPECT_EQ(Read(HEADER + "#0\n#4 1!").signals[0], (Signal{"A", false, {{microseconds(4), true}}}));
}

TEST_F(VcdTest, SaysWhereAFileIsWrong) {
    struct {
        std::string text;
        const char* message;
    } const ROWS[] = {
        {"", ":0: no signals"},
        {"$timescale 1 us", ":1: '$timescale' has no '$end'"},
        {"$timescale 2 us $end", ":1: '2us' is no time scale"},
        {"$timescale 1 min $end", ":1: '1min' is no time scale"},
        {"\n$var wire 8 ! BUS $end", ":2: only '$var wire 1 IDENTIFIER NAME $end' is understood"},
        {"$var wire 1 ! $end", ":1: only '$var wire 1 IDENTIFIER NAME $end' is understood"},
        {HEADER + "#x", ":7: '#x' is no time"},
        {HEADER + "#1x", ":7: '#1x' is no time"},
        {HEADER + "#9223372036854775808", ":7: '#9223372036854775808' is no time"},
        {"$timescale 1 s $end\n$var wire 1 ! A $end\n#9223372036855", ":3: '#9223372036855' is no time"},
        {HEADER + "#5\n#4", ":8: the time goes back from 0.0 ms to 0.0 ms"},
        {HEADER + "#5\n1?", ":8: '1?' is neither a time nor the level of a signal that was named above"},
        {HEADER + "#5\n2!", ":8: '2!' is neither a time nor the level of a signal that was named above"},
    };
    for (const auto& row : ROWS) {
        SCOPED_TRACE(row.text);
        try {
            Read(row.text);
            ADD_FAILURE() << "was accepted";
        } catch (const TimelineError& error) {
            EXPECT_EQ(error.what(), Path() + row.message + "; is this a recording of a board?");
        }
    }
    EXPECT_THROW(ReadVcd(folder.Path() + "/absent.vcd"), TimelineError);
}

TEST_F(VcdTest, NamesSignalsAsViewersAcceptThem) {
    EXPECT_EQ(SignalName("MS.green[0]:aZ9"), "MS_green_0__aZ9");
}

TEST_F(VcdTest, RoundsTimesForPeople) {
    EXPECT_EQ(TextOf(microseconds(400)), "0.4 ms");
    EXPECT_EQ(TextOf(microseconds(9'999)), "10.0 ms");
    EXPECT_EQ(TextOf(microseconds(38'400)), "38 ms");
    EXPECT_EQ(TextOf(microseconds(1'250'000)), "1.250 s");
}
