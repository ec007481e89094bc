// SPDX-License-Identifier: Apache-2.0
#include "board/virtual/LogTail.h"

#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/support/TemporaryFolder.h"

namespace VelrixBoard {
namespace {

class LogTailTest : public testing::Test {
protected:
    // What reading tells, each line in brackets.
    std::string Read() {
        log.clear();
        tail.Read();
        return log;
    }
    std::string Finish() {
        log.clear();
        tail.Finish();
        return log;
    }
    void Append(const std::string& text) const { std::ofstream(folder.Path("log"), std::ios::app) << text; }

    const TestSupport::TemporaryFolder folder;
    std::string log;
    LogTail tail{folder.Path("log"), [this](std::string_view line) { log += "<" + std::string(line) + ">"; }};
};

TEST_F(LogTailTest, TellsEachLineOnceWhenItIsComplete) {
    const struct {
        const char* added;
        const char* told;
    } rows[] = {{"", ""}, {">st", ""}, {"art\n", "<>start>"}, {"", ""}, {"\n+a\n+", "<><+a>"}, {"b\n", "<+b>"}};

    EXPECT_EQ(Read(), "");
    for (const auto& row : rows) {
        Append(row.added);

        EXPECT_EQ(Read(), row.told) << row.added;
    }
}

TEST_F(LogTailTest, StartsAnewWhenTheFileIsOverwritten) {
    const struct {
        const char* what;
        const char* content;
        const char* told;
    } rows[] = {{"new", "one\n", "<one>"},
                {"as long as before", "two\n", "<two>"},
                {"longer", "three\n", "<three>"},
                {"shorter", "four\n", "<four>"},
                {"unfinished", "five\nfi", "<five>"},
                {"over that", "six\n", "<fi><six>"},
                {"the same and more", "six\n7\n", "<7>"},
                {"truncated", "", ""},
                {"the same", "six\n", "<six>"}};

    for (const auto& row : rows) {
        folder.Write("log", row.content);

        EXPECT_EQ(Read(), row.told) << row.what;
    }
}

// So that a long log costs no more than a short one.
TEST_F(LogTailTest, LooksForWhatWasOverwrittenAtTheEndAlone) {
    const std::string end(4095, 'x');
    Append("one\n" + end + "\n");
    Read();

    std::fstream(folder.Path("log"), std::ios::in | std::ios::out) << "two";
    Append("three\n");

    EXPECT_EQ(Read(), "<three>");
}

TEST_F(LogTailTest, StartsAnewWhenAnotherFileHasTheName) {
    folder.Write("log", ">start\n+a\n");
    EXPECT_EQ(Read(), "<>start><+a>");

    // Made anew in one go, with the same content: on most file systems it has the number of the one before.
    folder.Remove("log");
    folder.Write("log", ">start\n+a\n");
    EXPECT_EQ(Read(), "<>start><+a>");

    folder.Write("other", ">start\n+a\n+b\n");
    std::filesystem::rename(folder.Path("other"), folder.Path("log"));
    EXPECT_EQ(Read(), "<>start><+a><+b>");
    EXPECT_EQ(Read(), "");
}

TEST_F(LogTailTest, TellsWhatWasWrittenBeforeTheFileWasRemoved) {
    folder.Write("log", "one\n");
    EXPECT_EQ(Read(), "<one>");
    Append("two\nunfinished");
    folder.Remove("log");
    EXPECT_EQ(Read(), "<two><unfinished>");
    EXPECT_EQ(Read(), "");

    folder.Write("log", "three\nand");
    EXPECT_EQ(Read(), "<three>");
    Append(" four");
    folder.Remove("log");
    folder.Write("log", "five\n");

    EXPECT_EQ(Read(), "<and four><five>");
}

TEST_F(LogTailTest, TellsAnUnfinishedLineAtTheEnd) {
    EXPECT_EQ(Finish(), "");
    folder.Write("log", "one\ntw");
    EXPECT_EQ(Read(), "<one>");
    Append("o");

    EXPECT_EQ(Finish(), "<two>");
    EXPECT_EQ(Finish(), "");
}

TEST_F(LogTailTest, ReadsALogOfAnyLength) {
    const std::string line(100'000, 'x');
    folder.Write("log", line + "\n" + line + "\n");

    EXPECT_EQ(Read(), "<" + line + "><" + line + ">");
    Append("next\n");
    EXPECT_EQ(Read(), "<next>");
}

TEST_F(LogTailTest, LeavesAPipeAlone) {
    ASSERT_EQ(::mkfifo(folder.Path("log").c_str(), 0600), 0);

    EXPECT_EQ(Read(), "");
}

} // namespace
} // namespace VelrixBoard
