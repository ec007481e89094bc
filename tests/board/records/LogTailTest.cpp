// SPDX-License-Identifier: Apache-2.0
#include "board/records/LogTail.h"

#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/support/TemporaryFolder.h"

namespace VelrixBoard {
namespace {

class LogTailTest : public testing::Test {
protected:
    // The lines of one reading, each in brackets.
    std::string Read() {
        log.clear();
        for (bool more = true; more;)
            more = tail.Read();
        return log;
    }
    std::string Finish() {
        log.clear();
        EXPECT_TRUE(tail.Finish());
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

// A long log must not cost more than a short one.
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

    // Removed and recreated at once with the same content: most file systems reuse the inode number.
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
    const std::string line(LogTail::LONGEST_LINE, 'x');
    folder.Write("log", line + "\n" + line + "\n");

    EXPECT_EQ(Read(), "<" + line + "><" + line + ">");
    Append("next\n");
    EXPECT_EQ(Read(), "<next>");
}

TEST_F(LogTailTest, CutsALineThatIsTooLong) {
    const std::string whole(LogTail::LONGEST_LINE, 'x');
    const std::string cut = "<" + whole + std::string(LogTail::CUT) + ">";
    folder.Write("log", whole + "y\nnext\n");
    EXPECT_EQ(Read(), cut + "<next>");

    for (int part = 0; part < 3; ++part) {
        Append(whole);
        EXPECT_EQ(Read(), "");
    }
    Append("\nlast\n");
    EXPECT_EQ(Read(), cut + "<last>");

    Append(whole + "y");
    EXPECT_EQ(Finish(), cut);
}

// A program that writes faster than lines can be shown must not starve the board.
TEST_F(LogTailTest, ComesBackAfterATurnsBytes) {
    const std::string line(999, 'x');
    int lines = 0;
    LogTail fast(folder.Path("log"), [&](std::string_view) {
        if (++lines < 10'000)
            Append(line + "\n");
    });
    Append(line + "\n");

    EXPECT_FALSE(fast.Read());
    const int first = lines;
    for (int i = 0; i < 1000; ++i)
        Append(line + "\n");
    EXPECT_TRUE(fast.Read());
    EXPECT_EQ(lines - first, LogTail::BYTES_PER_TURN / 1000);
}

TEST_F(LogTailTest, ComesBackAfterATurnsLines) {
    int lines = 0;
    LogTail blank(folder.Path("log"), [&](std::string_view) { ++lines; });
    Append(std::string(LogTail::LINES_PER_TURN + 1, '\n') + "last\n");

    EXPECT_TRUE(blank.Read());
    EXPECT_EQ(lines, LogTail::LINES_PER_TURN);
    EXPECT_FALSE(blank.Read());
    EXPECT_EQ(lines, LogTail::LINES_PER_TURN + 2);
}

TEST_F(LogTailTest, ComesToTheNewFileAfterTheRestOfTheOld) {
    folder.Write("log", "first\n");
    EXPECT_EQ(Read(), "<first>");
    Append(std::string(LogTail::BYTES_PER_TURN - 1, 'x') + "\nlast\n");
    folder.Remove("log");
    folder.Write("log", "new\n");

    EXPECT_TRUE(tail.Read());
    log.clear();
    EXPECT_FALSE(tail.Read());
    EXPECT_EQ(log, "<last><new>");
}

// A sparse file of that length takes no disk space, but would take hours to read.
TEST_F(LogTailTest, EndsBeforeTheEndOfAnEndlessLog) {
    folder.Write("log", "first\n");
    std::filesystem::resize_file(folder.Path("log"), std::uintmax_t{1} << 40U);

    EXPECT_FALSE(tail.Finish());

    EXPECT_EQ(log, "<first><" + std::string(LogTail::LONGEST_LINE, '\0') + std::string(LogTail::CUT) + ">");
}

TEST_F(LogTailTest, EndsWhenNobodyWantsMore) {
    std::string lines;
    for (std::size_t i = 0; i < 5 * LogTail::LINES_PER_TURN; ++i)
        lines += "x\n";
    folder.Write("log", lines);

    int turns = 0;
    EXPECT_FALSE(tail.Finish([&turns] { return ++turns < 3; }));

    EXPECT_EQ(turns, 3);
    EXPECT_EQ(log.size(), 3 * LogTail::LINES_PER_TURN * std::string_view("<x>").size());
}

TEST_F(LogTailTest, LeavesAPipeAlone) {
    ASSERT_EQ(::mkfifo(folder.Path("log").c_str(), 0600), 0);

    EXPECT_EQ(Read(), "");
}

} // namespace
} // namespace VelrixBoard
