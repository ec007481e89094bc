// SPDX-License-Identifier: Apache-2.0
#include "board/panel/PanelRecording.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "board/base/BoardError.h"
#include "board/timeline/VcdReader.h"
#include "board/timeline/VcdWriter.h"
#include "tests/support/TemporaryFolder.h"

namespace VelrixBoard {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;

class PanelRecordingTest : public testing::Test {
protected:
    PanelRecording Record(BoardTime began = 0ms, BoardTime end = 1s) const {
        return {folder.Path("changes"), {{"A", true, {}}, {"MS.red", false, {}}}, began, end};
    }
    static std::string All(PanelRecording recording) {
        std::string all;
        for (std::string piece = recording.Next(); !piece.empty(); piece = recording.Next())
            all += piece;
        EXPECT_EQ(recording.Next(), "");
        return all;
    }
    std::string Of(const std::string& changes) const {
        folder.Write("changes", changes);
        const std::string all = All(Record());
        return all.substr(all.rfind("$end\n") + 5);
    }

    const TestSupport::TemporaryFolder folder;
};

TEST_F(PanelRecordingTest, IsTheSameAsThatOfTheTimeline) {
    folder.Write("changes", "0.010000999 A 0\n0.010000999 MS.red 1\n3.000000000 MS.red 0\n");
    VcdWriter writer(folder.Path("timeline"), {{"A", true, {}}, {"MS.red", false, {}}});
    writer.Write(0, false, 8ms);
    writer.Write(1, true, 8ms);
    writer.Write(1, false, 2998ms);
    writer.Finish(4998ms);

    EXPECT_EQ(All(Record(2ms, 5s)), folder.Read("timeline"));
}

TEST_F(PanelRecordingTest, LeavesOutWhatIsNoChange) {
    EXPECT_EQ(Of("0.000001000 A 0\nnonsense\n\n0.000002000 B 0\n0.000003000 A 2\n1 A 1\n-1.000000000 A\n"
                 "0.00000400x A 1\n0.000005000 A 1\n0.000006000 A"),
              "#1\n0!\n#5\n1!\n#1000000\n");
    EXPECT_EQ(Of(""), "#1000000\n");
}

TEST_F(PanelRecordingTest, ReadsALongFileInPieces) {
    std::string changes;
    for (int i = 0; i < 20'000; ++i)
        changes += "0.0" + std::to_string(10'000 + i) + "000 MS.red " + std::to_string((i + 1) % 2) + "\n";
    folder.Write("changes", changes);
    ASSERT_GT(changes.size(), 5 * PanelRecording::PIECE);

    PanelRecording recording = Record();
    std::string all = recording.Next();
    int pieces = 1;
    for (std::string piece = recording.Next(); !piece.empty(); piece = recording.Next()) {
        EXPECT_LE(piece.size(), PanelRecording::PIECE);
        all += piece;
        ++pieces;
    }
    folder.Write("all.vcd", all);

    EXPECT_GT(pieces, 5);
    EXPECT_EQ(ReadVcd(folder.Path("all.vcd")).Find("MS_red")->changes.size(), 20'000u);
}

// A program that writes faster than the client reads.
TEST_F(PanelRecordingTest, EndsWithTheFileAsItWasAtTheBeginning) {
    const std::string before = "0.000001000 A 0\n";
    folder.Write("changes", before);
    PanelRecording recording = Record();
    folder.Write("changes", before + "0.000002000 A 1\n");

    EXPECT_THAT(All(std::move(recording)), testing::EndsWith("#1\n0!\n#1000000\n"));
}

TEST_F(PanelRecordingTest, SaysThatThereIsNoFile) {
    try {
        Record();
        ADD_FAILURE() << "it reads what does not exist";
    } catch (const BoardError& error) {
        EXPECT_THAT(error.what(), HasSubstr("cannot read the run's changes from " + folder.Path("changes")));
    }
}

} // namespace
} // namespace VelrixBoard
