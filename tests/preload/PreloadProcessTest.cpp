// SPDX-License-Identifier: Apache-2.0
// Programs with the preloaded library that start others, log, and use other system interfaces.
#include <filesystem>
#include <regex>

#include <sys/stat.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/preload/PreloadedRun.h"

namespace VelrixBoard::Preload {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

class PreloadProcessTest : public testing::Test {
protected:
    std::string Step(const std::string& step, const std::string& argument = "") {
        return StepOnBoard(board, step, argument);
    }

    const TestSupport::TemporaryFolder folder;
    StandInBoard board{folder.Path()};
};

TEST_F(PreloadProcessTest, GivesProgramsTheirBoardInEveryWayToStartOne) {
    EXPECT_EQ(Step("execute"), "7 7 7 7 7 8 9 10\n"
                               "102 7 0\n"
                               "7 11 102 0 7 7 ENOENT\n"
                               "7\n"
                               "0 2\n 0 1\n");
    EXPECT_EQ(board.Log(), "open.0 write.0=1\\n");
    EXPECT_EQ(Step("plain text"), "12 104\n");
}

TEST_F(PreloadProcessTest, GivesProgramsTheirBoardBackWhenTheEnvironmentIsLost) {
    const std::string test = "test -d /var/dev && echo $LD_PRELOAD";
    const std::string library = PRELOADED_LIBRARY;
    EXPECT_EQ(RunOnBoard(board, {"/usr/bin/env", "-i", "/bin/sh", "-c", test}).output, library + "\n");
    EXPECT_EQ(RunOnBoard(board, {"/bin/sh", "-c", "unset LD_PRELOAD; exec /bin/sh -c '" + test + "'"}).output,
              library + "\n");
    EXPECT_EQ(RunOnBoard(board, {"/usr/bin/env", "LD_PRELOAD=libm.so.6", "/bin/sh", "-c", test}).output,
              library + ":libm.so.6\n");
    EXPECT_EQ(RunOnBoard(board, {"/usr/bin/env", "LD_PRELOAD=libm.so.6:" + library, "/bin/sh", "-c", test}).output,
              "libm.so.6:" + library + "\n");
    EXPECT_EQ(RunOnBoard(board, {"/usr/bin/env", std::string(LIST_VARIABLE) + "=/none", "/bin/sh", "-c", test}).output,
              library + "\n");
}

TEST_F(PreloadProcessTest, ExecutesProgramsOfTheBoard) {
    fs::create_directory(folder.Path("bin"));
    fs::create_symlink("/bin/echo", folder.Path("bin/reboot"));
    board.AddToList("name\t/usr/sbin/board-reboot\t" + folder.Path("bin/reboot"));
    EXPECT_EQ(
        RunOnBoard(board, {"/bin/sh", "-c", "/usr/sbin/board-reboot -f; PATH=/usr/sbin:$PATH board-reboot now"}).All(),
        "-f\nnow\n");
}

TEST_F(PreloadProcessTest, RefusesProgramsThatCannotHaveTheBoard) {
    // Not a loader of this machine's C library.
    const std::string program = folder.Path("program");
    fs::copy_file("/bin/true", program);
    std::string text = folder.Read("program");
    const std::size_t loader = text.find("/ld-linux");
    ASSERT_NE(loader, std::string::npos);
    text[loader + 1] = 'x';
    folder.Write("program", text);

    const PreloadedRun run = RunOnBoard(board, {PRELOADED_STEPS, "execute given", program});

    EXPECT_EQ(run.output, "101 101 EACCES\n");
    const std::string message = "velrix-board: " + program +
                                " is linked with another C library; a board that runs without namespaces can only run "
                                "programs that use the C library of this machine\n";
    EXPECT_EQ(run.errors, message + message + message);
}

TEST_F(PreloadProcessTest, LeadsTheFilesThatSpawnOpens) {
    EXPECT_EQ(Step("spawn"), "0 EOPNOTSUPP 0 0 /mnt/share\n\n");
}

TEST_F(PreloadProcessTest, WritesTheSystemLog) {
    const PreloadedRun run = RunOnBoard(board, {PRELOADED_STEPS, "log"});
    EXPECT_EQ(run.All(), "255\nthird: shown\n");
    const std::string time = "[A-Z][a-z][a-z] [ 1-3][0-9] [0-9]{2}:[0-9]{2}:[0-9]{2} ";
    const std::regex expected("log=<27>" + time + "tag\\[[0-9]+\\]: number 5: No such file or directory log=<158>" +
                              time + "tag\\[[0-9]+\\]: varied\\\\n log=<28>" + time +
                              "preloaded-steps\\[[0-9]+\\]: x{3000} log=<13>" + time +
                              "second: after the socket went log=<13>" + time + "third: shown");
    EXPECT_TRUE(std::regex_match(board.LogOf(5), expected)) << board.Log();
    EXPECT_EQ(RunOnBoard(board, {"/usr/bin/logger", "--socket-errors=on", "from a command"}).All(), "");
    EXPECT_THAT(board.LogOf(6), HasSubstr(": from a command"));
}

TEST_F(PreloadProcessTest, LeadsSocketsOfAnyLengthOfPath) {
    const std::string expected = "0 3 3\n5\n0 0 1 0\n";
    EXPECT_EQ(Step("sockets"), expected);
    EXPECT_EQ(board.LogOf(3), "log=one log=two log=three");
    const std::string deep = folder.Path(std::string(100, 'd'));
    fs::create_directory(deep);
    StandInBoard other(deep);
    EXPECT_EQ(StepOnBoard(other, "sockets"), expected);
    EXPECT_EQ(other.LogOf(3), "log=one log=two log=three");
}

TEST_F(PreloadProcessTest, ShowsTheUserAsRootWhereTheBoardSaysSo) {
    EXPECT_EQ(Step("user").find("0 0 0 0") == 0, ::getuid() == 0);
    board.AddToList("root");
    EXPECT_EQ(Step("user"), "0 0 0 0 0\n");
    EXPECT_EQ(RunOnBoard(board, {"/usr/bin/id", "-u"}).output, "0\n");
}

TEST_F(PreloadProcessTest, LeadsTheRebootCallToTheBoard) {
    EXPECT_EQ(Step("reboot"), "EPERM EPERM EPERM\n");
    EXPECT_EQ(board.Log(), "");
    board.AddToList("root");
    EXPECT_EQ(Step("reboot"), "0 0 EINVAL\n");
    EXPECT_EQ(board.Log(), "reboot=1 reboot=0");
}

TEST_F(PreloadProcessTest, LoadsLibrariesOfTheBoard) {
    fs::copy_file(PRELOADED_LIBRARY, folder.Path("share/library.so"));
    EXPECT_EQ(Step("load", "/mnt/share/library.so"), "loaded none loaded loaded\nloaded\n");
}

TEST_F(PreloadProcessTest, BeginsWhenAProgramBecomesABoards) {
    const PreloadedRun run = RunPreloaded({PRELOADED_STEPS, "begin later", board.List()},
                                          {std::string("LD_PRELOAD=") + PRELOADED_LIBRARY, LIST_VARIABLE});
    EXPECT_EQ(run.All(), "ENOENT ENOENT 0\n");
}

} // namespace
} // namespace VelrixBoard::Preload
