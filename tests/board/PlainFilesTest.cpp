// SPDX-License-Identifier: Apache-2.0
#include "board/virtual/PlainFiles.h"

#include <filesystem>

#include <fcntl.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "board/virtual/BoardError.h"
#include "tests/support/TemporaryFolder.h"

namespace VelrixBoard {
namespace {

using namespace std::chrono_literals;
using TestSupport::TemporaryFolder;

TEST(PlainFilesTest, TellsWhatWasWrittenFromWhatChanged) {
    const struct {
        const char* before;
        const char* after;
        const char* written;
        const char* how;
    } rows[] = {
        {"0\n", "1\n", "1", "one byte over the first"},
        {"0\n", "0\n", "0", "the same byte once more"},
        {"1\n", "10", "0", "the second byte, over the line feed"},
        {"0\n", "101", "101", "three bytes at once"},
        {"10", "1011", "11", "two bytes more"},
        {"0110", "01101", "1", "one byte more"},
        {"1011", "0011", "0", "one byte over the first by a second descriptor"},
        {"1011", "0111", "01", "two bytes by a second descriptor"},
        {"1011", "1011", "", "nothing that can be seen"},
        {"1011", "0\n", "0", "emptied and written"},
        {"", "1\n", "1", "written after it was emptied"},
        {"0\n", "0\n1\n0\n", "10", "lines appended"},
    };
    for (const auto& row : rows)
        EXPECT_EQ(WrittenValues(row.before, row.after), row.written) << row.how;
}

class PlainFilesBoardTest : public testing::Test, protected BoardObserver {
protected:
    PlainFilesBoardTest() : layout(folder.Path()) {}

    void Make(const std::set<std::filesystem::path>& without = {}) {
        state.emplace(model);
        state->Add(*this);
        files.emplace(
            layout, *state, watcher, [] { return BoardTime(5ms); }, without);
    }
    void OnChange(std::size_t signal, bool level, BoardTime time) override {
        EXPECT_EQ(time, BoardTime(5ms));
        log += state->Name(signal) + (level ? " 1\n" : " 0\n");
    }
    std::string Placed() const {
        std::string text;
        for (const Placement& place : files->Placements())
            text += (place.kind == Placement::Kind::ABSENT ? "no " : "") + place.inside.string() + " ";
        return text;
    }

    TemporaryFolder folder;
    BoardLayout layout;
    BoardModel model;
    FileWatcher watcher;
    std::optional<BoardState> state;
    std::optional<PlainFiles> files;
    std::string log;
};

constexpr const char* RESET = "var-dev/gpio-outputs/oxboResetN/value";
constexpr const char* IRQ = "var-dev/gpio-inputs/oxboIrqN/value";

TEST_F(PlainFilesBoardTest, MakesEveryFileWithItsFirstLevel) {
    Make();

    std::string content;
    for (std::size_t i = 0; i < state->Count(); ++i) {
        const std::filesystem::path path = layout.Outside(state->Path(i));
        content += folder.Read(path.lexically_relative(folder.Path()).string());
    }
    EXPECT_EQ(content, "1\n0\n0\n0\n0\n0\n1\n1\n0\n0\n0\n0\n0\n0\n0\n0\n0\n");
    EXPECT_EQ(Placed(), "");
}

TEST_F(PlainFilesBoardTest, TellsEachValueThatAProgramWrites) {
    Make();
    const int reset = ::open(folder.Path(RESET).c_str(), O_WRONLY | O_CLOEXEC);
    for (const char* value : {"0", "1", "1", "0"}) {
        EXPECT_EQ(::write(reset, value, 1), 1);
        files->Dispatch();
    }
    ASSERT_EQ(::write(reset, "1", 1), 1);
    ASSERT_EQ(::write(reset, "0", 1), 1);
    ::close(reset);
    files->Dispatch();

    EXPECT_EQ(log, "OXBO_RESET1_N 1\nOXBO_RESET1_N 0\nOXBO_RESET1_N 1\nOXBO_RESET1_N 0\n");
    EXPECT_EQ(folder.Read(RESET), "011010");
}

TEST_F(PlainFilesBoardTest, UnderstandsAFileThatIsEmptiedAndWritten) {
    Make();

    folder.Write(RESET, "1\n");
    files->Dispatch();
    folder.Write(RESET, "0\n");
    files->Dispatch();
    folder.Write(RESET, "");
    files->Dispatch();

    EXPECT_EQ(log, "OXBO_RESET1_N 1\nOXBO_RESET1_N 0\n");
}

TEST_F(PlainFilesBoardTest, TakesAnInputFromTheFirstByteOfItsFile) {
    Make();

    folder.Write(IRQ, "01\n");
    files->Dispatch();
    folder.Write(IRQ, "1\n");
    files->Dispatch();
    folder.Write(IRQ, "2\n");
    files->Dispatch();

    EXPECT_EQ(log, "OXBO_IRQ_N 0\nOXBO_IRQ_N 1\nOXBO_IRQ_N 0\n");
}

TEST_F(PlainFilesBoardTest, DrivesAnInput) {
    Make();

    files->DriveInput(0, false);

    EXPECT_EQ(folder.Read(IRQ), "0\n");
    EXPECT_EQ(log, "OXBO_IRQ_N 0\n");
    files->Dispatch();
    EXPECT_EQ(log, "OXBO_IRQ_N 0\n");
}

TEST_F(PlainFilesBoardTest, LeavesOutWhatShallBeMissing) {
    model.Apply("qor_pin", "irq_n", "/elsewhere/irq");
    Make({"/var/dev/gpio-inputs/oxboIrqN/value", "/elsewhere/irq"});

    EXPECT_FALSE(std::filesystem::exists(folder.Path(IRQ)));
    EXPECT_TRUE(std::filesystem::exists(folder.Path("var-dev/gpio-inputs/oxboIrqN")));
    EXPECT_TRUE(std::filesystem::exists(folder.Path(RESET)));
    EXPECT_EQ(Placed(), "no /elsewhere/irq ");
    files->DriveInput(0, false);
    EXPECT_FALSE(std::filesystem::exists(folder.Path(IRQ)));
}

TEST_F(PlainFilesBoardTest, MakesNoFileForWhatCannotBeOne) {
    model.Apply("qor_pin", "irq_n", "/dev/null");
    model.Apply("qor_pin", "busy_n", "relative/path");
    model.Apply("qor_pin", "reset_n", "");
    model.Apply("oxbo_pin", "reset_n", "/elsewhere/x/../reset");
    Make();

    EXPECT_EQ(Placed(), "/elsewhere/reset ");
    EXPECT_EQ(folder.Read("files/elsewhere/reset"), "0\n");
    EXPECT_FALSE(std::filesystem::exists(folder.Path("files/dev")));
}

TEST_F(PlainFilesBoardTest, SaysWhichFileItCannotMake) {
    folder.Write("leds", "in the way");
    try {
        Make();
        FAIL();
    } catch (const BoardError& error) {
        EXPECT_EQ(error.what(),
                  "cannot write the value file " + folder.Path("leds/ledGwStsGrn/brightness") + ": Not a directory");
    }
}

} // namespace
} // namespace VelrixBoard
