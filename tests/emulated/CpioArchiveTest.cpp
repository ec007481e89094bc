// SPDX-License-Identifier: Apache-2.0
#include "board/emulated/CpioArchive.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "board/base/BoardError.h"
#include "tests/support/TemporaryFolder.h"

namespace {

using TestSupport::TemporaryFolder;
using VelrixBoard::CpioArchive;

void Write(const std::filesystem::path& file, const std::string& text) {
    std::ofstream(file) << text;
}

// What cpio itself sees in the archive: mode and name of each entry.
std::string Listing(const CpioArchive& archive, const std::filesystem::path& folder) {
    Write(folder / "archive", archive.Finish());
    const std::string command = "cpio -tv --quiet < " + (folder / "archive").native() + " 2>&1";
    std::string text;
    FILE* stream = ::popen(command.c_str(), "r");
    char line[512];
    while (std::fgets(line, sizeof line, stream)) {
        const std::string row = line;
        text += row.substr(0, 10) + " " + row.substr(row.find("1970 ") + 5);
    }
    EXPECT_EQ(::pclose(stream), 0);
    return text;
}

TEST(CpioArchive, HoldsWhatWasAddedWithTheDirectoriesAbove) {
    const TemporaryFolder folder;
    Write(folder.Path("settings"), "log_dir=/tmp\n");
    CpioArchive archive;

    archive.AddFile("/etc/velrix.conf", folder.Path("settings"));
    archive.AddLink("/etc/name", "../target");
    archive.AddProgram("/a/b/c", "");

    EXPECT_EQ(Listing(archive, folder.Path()), "drwxr-xr-x etc\n"
                                               "-rw-r--r-- etc/velrix.conf\n"
                                               "lrwxrwxrwx etc/name -> ../target\n"
                                               "drwxr-xr-x a\n"
                                               "drwxr-xr-x a/b\n"
                                               "-rwxr-xr-x a/b/c\n");
}

TEST(CpioArchive, KeepsContentsOfEveryLengthUnchanged) {
    const TemporaryFolder folder;
    CpioArchive archive;
    for (std::size_t length = 0; length < 9; ++length)
        archive.AddProgram("/file" + std::to_string(length), std::string("\0\n234567", 8).substr(0, length));
    Write(folder.Path("archive"), archive.Finish());

    const std::string command = "cd " + folder.Path() + " && cpio -i --quiet < archive";
    ASSERT_EQ(std::system(command.c_str()), 0);

    for (std::size_t length = 0; length < 9; ++length) {
        std::ifstream file(folder.Path("file" + std::to_string(length)), std::ios::binary);
        const std::string content{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
        EXPECT_EQ(content, std::string("\0\n234567", 8).substr(0, length));
    }
}

TEST(CpioArchive, TakesFilesWithTheirRightToRun) {
    const TemporaryFolder folder;
    Write(folder.Path("program"), "x");
    std::filesystem::permissions(folder.Path("program"), std::filesystem::perms::owner_all);
    Write(folder.Path("text"), "x");
    CpioArchive archive;

    archive.AddFile("/program", folder.Path("program"));
    archive.AddFile("/text", folder.Path("text"));

    EXPECT_EQ(Listing(archive, folder.Path()), "-rwxr-xr-x program\n-rw-r--r-- text\n");
}

TEST(CpioArchive, TakesWholeTreesInTheOrderOfTheirNames) {
    const TemporaryFolder folder;
    std::filesystem::create_directories(folder.Path("tree/inner"));
    Write(folder.Path("tree/z"), "");
    Write(folder.Path("tree/inner/file"), "");
    std::filesystem::create_symlink("z", folder.Path("tree/link"));
    CpioArchive archive;

    archive.AddTree("/t", folder.Path("tree"));

    EXPECT_EQ(Listing(archive, folder.Path()), "drwxr-xr-x t\n"
                                               "drwxr-xr-x t/inner\n"
                                               "-rw-r--r-- t/inner/file\n"
                                               "lrwxrwxrwx t/link -> z\n"
                                               "-rw-r--r-- t/z\n");
}

TEST(CpioArchive, RefusesFilesThatCannotBeRead) {
    const TemporaryFolder folder;
    CpioArchive archive;

    EXPECT_THROW(archive.AddFile("/x", folder.Path("absent")), VelrixBoard::BoardError);
    EXPECT_THROW(archive.AddFile("/x", folder.Path()), VelrixBoard::BoardError);
}

// The message that the archive refuses the tree with.
std::string Refusal(const std::filesystem::path& source) {
    CpioArchive archive;
    try {
        archive.AddTree("/x", source);
    } catch (const VelrixBoard::BoardError& error) {
        return error.what();
    }
    return "";
}

TEST(CpioArchive, RefusesByNameWhatHasNoEndToRead) {
    const TemporaryFolder folder;
    std::filesystem::create_directories(folder.Path("tree"));
    const std::string pipe = folder.Path("tree/pipe");
    ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);

    for (const std::string& source : {pipe, folder.Path("tree")})
        EXPECT_EQ(Refusal(source), "cannot read " + pipe +
                                       ": it is a named pipe, and only regular files can be read; name a file, or "
                                       "leave it out");
    EXPECT_EQ(Refusal("/dev/zero"), "cannot read /dev/zero: it is a device, and only regular files can be read; name a "
                                    "file, or leave it out");
}

} // namespace
