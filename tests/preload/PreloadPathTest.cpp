// SPDX-License-Identifier: Apache-2.0
// Programs with the preloaded library and their paths.
#include <filesystem>

#include <sys/stat.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/preload/PreloadedRun.h"

namespace VelrixBoard::Preload {
namespace {

namespace fs = std::filesystem;

class PreloadPathTest : public testing::Test {
protected:
    std::string Step(const std::string& step, const std::string& argument = "") {
        return StepOnBoard(board, step, argument);
    }
    std::string Shell(const std::string& script) {
        const PreloadedRun run = RunOnBoard(board, {"/bin/sh", "-c", script});
        EXPECT_EQ(run.status, 0) << run.All();
        return run.All();
    }

    const TestSupport::TemporaryFolder folder;
    StandInBoard board{folder.Path()};
};

TEST_F(PreloadPathTest, OpensFilesOfTheBoardInEveryWay) {
    EXPECT_EQ(Step("open every way"), "ENOENT open open open open\n"
                                      "open open ENOENT\n"
                                      "there ENOENT there there\n"
                                      "content content\n");
    EXPECT_EQ(folder.Read("share/file"), "content");
}

TEST_F(PreloadPathTest, GivesTheStatusOfFilesOfTheBoard) {
    EXPECT_EQ(Step("ask for status"), "directory file 5 file ENOENT 0 5\n"
                                      "0 ENOENT 0 0\n"
                                      "0 0 255\n");
}

TEST_F(PreloadPathTest, GivesValueFilesTheStatusOfTheDevices) {
    EXPECT_EQ(Step("value status"), "100644 4096 4096 1\n"
                                    "100444 4096 4096 1\n"
                                    "100644 4096 4096 1\n"
                                    "100644 4096 4096 1\n"
                                    "1 4096\n"
                                    "1 4096\n"
                                    "0 EACCES 0 ENOENT\n");
}

TEST_F(PreloadPathTest, HasNoStatusOfAFileThatIsMissing) {
    fs::remove(folder.Path("device") + StandInBoard::OUTPUT_PATH);
    board.Break(StandInBoard::OUTPUT, ENOENT);
    EXPECT_EQ(Shell(std::string("ls ") + StandInBoard::OUTPUT_PATH + " 2>/dev/null; cat " + StandInBoard::OUTPUT_PATH +
                    " 2>/dev/null; ls /var/dev/gpio-outputs/oxboResetN"),
              "");
}

TEST_F(PreloadPathTest, ChangesFilesOfTheBoard) {
    EXPECT_EQ(Step("change"), "0 EEXIST 0 0 0 0 0 0 0 0\n"
                              "0 0 0 0 0 0 6\n"
                              "1 ENOENT\n"
                              "0 0 ENOTEMPTY ENOENT EBUSY\n");
    EXPECT_TRUE(fs::exists(folder.Path("share/d/b")));
    EXPECT_EQ(fs::read_symlink(folder.Path("share/s")), "d/b");
}

TEST_F(PreloadPathTest, RefusesToChangeValueFilesAsTheKernelDoes) {
    EXPECT_EQ(Step("change value files", folder.Path()),
              "EEXIST ENOTDIR ENOTDIR ENOTDIR EACCES ENOENT EISDIR EOPNOTSUPP ENOENT EACCES\n"
              "EPERM EEXIST ENOENT EACCES EEXIST EPERM EPERM EXDEV\n"
              "EPERM EISDIR ENOTDIR EPERM EBUSY EPERM ENOENT\n"
              "EPERM EXDEV EXDEV EXDEV ENOENT 0 EBUSY EBUSY\n"
              "EPERM EPERM ENOENT EPERM 0 0 EINVAL 0\n"
              "EACCES EPERM\n");
    EXPECT_TRUE(fs::exists(folder.Path("device") + StandInBoard::OUTPUT_PATH));
}

TEST_F(PreloadPathTest, NamesTemporaryFilesByTheirNamesInside) {
    EXPECT_EQ(Step("temporary"), "open open there\n0 0 0 inside suffixed\n");
}

TEST_F(PreloadPathTest, ReadsDirectoriesOfTheBoard) {
    EXPECT_EQ(Step("directories"),
              "a value ENOENT\n"
              "3 a\n"
              "/var/dev/gpio-inputs/oxboMod1/value,/var/dev/gpio-outputs/oxboResetN/value 3 /mnt/share/a\n"
              "/sys/class/leds/ledGwStsRed/brightness=4096 share a\n"
              "a\n");
}

TEST_F(PreloadPathTest, GoesAlongRelativePaths) {
    EXPECT_EQ(Step("elsewhere"), "0 content 0 content content\n"
                                 "/mnt/share /mnt/share /mnt/share ERANGE /mnt/share/file\n"
                                 "0 /mnt\n"
                                 "0 0\n\n"
                                 "1 EPERM ENOENT 1\n\n"
                                 "0 0\n\n");
    EXPECT_EQ(Shell("cd /mnt && ls -d share && cd share && echo x > y && /bin/pwd && cat ../share/y && cd / && cat "
                    "mnt/share/y"),
              "share\n/mnt/share\nx\nx\n");
}

TEST_F(PreloadPathTest, FollowsTheUsersLinksOntoTheBoard) {
    fs::create_directory(folder.Path("links"));
    EXPECT_EQ(Step("links", folder.Path("links")), std::string("0\n inner inner ELOOP open kept\n") +
                                                       StandInBoard::OUTPUT_PATH + " /mnt/share/inner ENOENT\n" +
                                                       StandInBoard::OUTPUT_PATH +
                                                       " /mnt/share/inner /mnt/share\n0\n 0\n 0\n\n");
}

TEST_F(PreloadPathTest, LeavesOddPathsToTheKernel) {
    EXPECT_EQ(Step("odd paths"), "ENOENT ENAMETOOLONG ENAMETOOLONG ENOTDIR EBADF EISDIR 0\n");
}

TEST_F(PreloadPathTest, OnlyReadsWhatBelongsToTheMachinesKernel) {
    EXPECT_EQ(Step("the machine's kernel"), "EROFS EROFS EROFS EROFS EROFS\nopen there there\n");
}

TEST_F(PreloadPathTest, LeavesThePathsOfTheMachineAlone) {
    EXPECT_EQ(Shell("cd " + folder.Path() + "/share && /bin/pwd && cd / && ls -d /usr/bin && test ! -e /mnt/none"),
              "/mnt/share\n/usr/bin\n");
    folder.Write("own", "own");
    EXPECT_EQ(Shell("cat " + folder.Path("own") + "; cd " + folder.Path() + " && cat own ./share/../own"), "ownownown");
}

TEST_F(PreloadPathTest, KeepsNewNamesInACoveredDirectoryToTheBoard) {
    fs::create_directory(folder.Path("machine"));
    fs::create_directory(folder.Path("covered"));
    folder.Write("machine/own", "own");
    const std::string machine = folder.Path("machine");
    board.AddToList("cover\t" + machine + "\t" + folder.Path("covered"));
    EXPECT_EQ(Shell("cd " + machine +
                    " && echo new > new && mkdir d && echo x > d/x && echo more >> own && cat new d/x " + machine +
                    "/new && mv new newer && cat newer && ls new 2>&1 || true"),
              "new\nx\nnew\nnew\nls: cannot access 'new': No such file or directory\n");
    EXPECT_EQ(folder.Read("machine/own"), "ownmore\n");
    EXPECT_EQ(folder.Read("covered/newer"), "new\n");
    EXPECT_FALSE(fs::exists(machine + "/new"));
    EXPECT_FALSE(fs::exists(machine + "/d"));
}

// Common command line tools.
TEST_F(PreloadPathTest, ServesTheShellsCommands) {
    const std::string output = StandInBoard::OUTPUT_PATH;
    EXPECT_EQ(Shell("echo text > /mnt/share/a; cp /mnt/share/a /mnt/share/b; mv /mnt/share/b /mnt/share/c; "
                    "ln -s a /mnt/share/l; cat /mnt/share/l /media/share/c; rm /mnt/share/a; ls /mnt/share"),
              "text\ntext\nc\nl\n");
    EXPECT_EQ(Shell("find /var/dev -type f; stat -c '%a %s' " + output + "; head -c1 " + output + "; test -w " +
                    output + "; readlink -f /var/dev/../dev/gpio-inputs"),
              std::string(StandInBoard::INPUT_PATH) + "\n" + output + "\n644 4096\n0/var/dev/gpio-inputs\n");
    EXPECT_EQ(Shell("touch /var/dev/none 2>&1; mkdir /var/dev/none 2>&1; rm " + output + " 2>&1; true"),
              "touch: cannot touch '/var/dev/none': Permission denied\n"
              "mkdir: cannot create directory '/var/dev/none': Operation not permitted\n"
              "rm: cannot remove '" +
                  output + "': Operation not permitted\n");
}

TEST_F(PreloadPathTest, PassesEverythingThroughWithoutAList) {
    const std::vector<std::string> environment = {std::string("LD_PRELOAD=") + PRELOADED_LIBRARY, LIST_VARIABLE};
    const PreloadedRun run = RunPreloaded(
        {"/bin/sh", "-c", "ls -d /var/dev /mnt/share; cd " + folder.Path() + "/share && /bin/pwd"}, environment);
    EXPECT_EQ(run.output, folder.Path("share") + "\n");
    EXPECT_EQ(RunPreloaded({"/bin/ls", "/proc/self/fd"}, environment).output, "0\n1\n2\n3\n");
}

TEST_F(PreloadPathTest, EndsAProgramWhoseListIsGone) {
    const std::string preload = std::string("LD_PRELOAD=") + PRELOADED_LIBRARY;
    const std::string list = folder.Path("none");
    PreloadedRun run = RunPreloaded({"/bin/echo", "x"}, {preload, std::string(LIST_VARIABLE) + "=" + list});
    EXPECT_EQ(run.status, 126);
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(run.errors, "velrix-board: cannot read the names of the board from " + list +
                              ": No such file or directory; has the board ended? Unset " + LIST_VARIABLE +
                              " to run programs without it\n");
    folder.Write("bad", "junk\n");
    run = RunPreloaded({"/bin/echo", "x"}, {preload, std::string(LIST_VARIABLE) + "=" + folder.Path("bad")});
    EXPECT_THAT(run.errors, testing::HasSubstr("it is not such a list"));
}

} // namespace
} // namespace VelrixBoard::Preload
