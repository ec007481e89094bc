// SPDX-License-Identifier: Apache-2.0
#include "board/base/RunDirectory.h"

#include <array>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <optional>
#include <vector>

#include <fcntl.h>
#include <sys/inotify.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "board/base/BoardError.h"
#include "tests/support/TemporaryFolder.h"

namespace VelrixBoard {
namespace {

namespace fs = std::filesystem;
using TestSupport::TemporaryFolder;

class RunDirectoryTest : public testing::Test {
protected:
    RunDirectoryTest() {
        if (const char* named = std::getenv("TMPDIR"))
            before = named;
        ::setenv("TMPDIR", folder.Path().c_str(), 1);
    }
    ~RunDirectoryTest() override {
        if (before)
            ::setenv("TMPDIR", before->c_str(), 1);
        else
            ::unsetenv("TMPDIR");
    }

    void MakeOld(const std::string& name) {
        fs::create_directory(folder.Path(name));
        fs::last_write_time(folder.Path(name), fs::file_time_type::clock::now() - std::chrono::minutes(2));
    }
    bool Exists(const std::string& name) const { return fs::exists(fs::symlink_status(folder.Path(name))); }

    const TemporaryFolder folder;
    std::optional<std::string> before;
};

TEST_F(RunDirectoryTest, IsClosedToOthersAndGoesWithTheObject) {
    fs::path path;
    {
        const RunDirectory directory = RunDirectory::Private();
        path = directory.Path();
        EXPECT_EQ(path.parent_path(), folder.Path());
        EXPECT_EQ(fs::status(path).permissions(), fs::perms::owner_all);
        fs::create_directories(path / "a/b");
    }
    EXPECT_FALSE(fs::exists(path));
}

TEST_F(RunDirectoryTest, SweepsOnlyWhatDeadBoardsLeft) {
    const RunDirectory living = RunDirectory::Private();
    fs::create_directory(folder.Path("velrix-board-dead"));
    folder.Write("velrix-board-dead/lock", "");
    folder.Write("velrix-board-dead/x", "");
    MakeOld("velrix-board-old");
    MakeOld("other-old");
    fs::create_directory(folder.Path("velrix-board-new"));
    folder.Write("velrix-board-file", "");
    fs::create_directory_symlink(folder.Path("other-old"), folder.Path("velrix-board-link"));

    const RunDirectory next = RunDirectory::Private();

    EXPECT_TRUE(fs::exists(living.Path()));
    EXPECT_NE(living.Path(), next.Path());
    EXPECT_FALSE(Exists("velrix-board-dead"));
    EXPECT_FALSE(Exists("velrix-board-old"));
    EXPECT_TRUE(Exists("other-old"));
    EXPECT_TRUE(Exists("velrix-board-new"));
    EXPECT_TRUE(Exists("velrix-board-file"));
    EXPECT_TRUE(Exists("velrix-board-link"));
}

// A killed sweep must leave a directory that the next one recognises as a dead board's.
TEST_F(RunDirectoryTest, RemovesTheLockOfADeadBoardLast) {
    const std::string dead = folder.Path("velrix-board-dead");
    fs::create_directory(dead);
    for (const char* name : {"a", "b", "lock", "c", "d"})
        folder.Write(std::string("velrix-board-dead/") + name, "");
    const FileDescriptor watch(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    ASSERT_GE(::inotify_add_watch(watch.Get(), dead.c_str(), IN_DELETE), 0);

    const RunDirectory next = RunDirectory::Private();

    std::vector<std::string> removed;
    alignas(inotify_event) std::array<char, 4096> buffer;
    const ssize_t length = ::read(watch.Get(), buffer.data(), buffer.size());
    for (ssize_t at = 0; at < length;) {
        inotify_event event;
        std::memcpy(&event, buffer.data() + at, sizeof event);
        if (event.len > 0)
            removed.emplace_back(buffer.data() + at + sizeof event);
        at += static_cast<ssize_t>(sizeof event + event.len);
    }
    ASSERT_EQ(removed.size(), 5U);
    EXPECT_EQ(removed.back(), "lock");
}

TEST_F(RunDirectoryTest, GivesUpWhereItCannotBeLocked) {
    rlimit usual{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &usual), 0);
    const rlimit none{static_cast<rlim_t>(FileDescriptor(::open("/", O_RDONLY | O_CLOEXEC)).Get()), usual.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
    std::string said;

    try {
        (void)RunDirectory::Private();
    } catch (const BoardError& error) {
        // First, since the sanitizer accesses memory through a descriptor.
        ::setrlimit(RLIMIT_NOFILE, &usual);
        said = error.what();
    }

    ::setrlimit(RLIMIT_NOFILE, &usual);
    EXPECT_EQ(said, "cannot lock a run directory in " + folder.Path() +
                        " (set TMPDIR, or name one with --directory): Too many open files");
    EXPECT_TRUE(fs::is_empty(folder.Path()));
}

TEST_F(RunDirectoryTest, SaysWhereItCannotBeMade) {
    ::setenv("TMPDIR", folder.Path("missing").c_str(), 1);
    try {
        (void)RunDirectory::Private();
        FAIL();
    } catch (const BoardError& error) {
        EXPECT_EQ(error.what(), "cannot make a run directory in " + folder.Path("missing") +
                                    " (set TMPDIR, or name one with --directory): No such file or directory");
    }
}

TEST_F(RunDirectoryTest, StaysWhereItWasNamed) {
    {
        const RunDirectory directory = RunDirectory::At(folder.Path("a/b/../c"));
        EXPECT_EQ(directory.Path(), folder.Path("a/c"));
    }
    EXPECT_TRUE(fs::is_directory(folder.Path("a/c")));
    EXPECT_NO_THROW(RunDirectory::At(folder.Path("a/c")));
}

TEST_F(RunDirectoryTest, RefusesAPlaceThatIsInUseOrNoDirectory) {
    folder.Write("file", "");
    fs::create_directory(folder.Path("full"));
    folder.Write("full/x", "");
    const struct {
        const char* name;
        const char* reason;
    } rows[] = {{"full", "is not empty"}, {"file", "cannot"}, {"file/below", "cannot make the run directory"}};
    for (const auto& row : rows) {
        try {
            (void)RunDirectory::At(folder.Path(row.name));
            ADD_FAILURE() << row.name;
        } catch (const BoardError& error) {
            EXPECT_THAT(error.what(), testing::HasSubstr(row.reason));
            EXPECT_THAT(error.what(), testing::HasSubstr(folder.Path(row.name)));
        }
    }
    EXPECT_TRUE(Exists("full/x"));
}

TEST_F(RunDirectoryTest, RemovesATreeThatDeniesItselfAndFollowsNoLink) {
    fs::create_directories(folder.Path("tree/closed/deep"));
    folder.Write("tree/closed/deep/file", "");
    folder.Write("kept", "");
    fs::create_directory(folder.Path("keptDirectory"));
    folder.Write("keptDirectory/file", "");
    fs::create_symlink(folder.Path("kept"), folder.Path("tree/link"));
    fs::create_directory_symlink(folder.Path("keptDirectory"), folder.Path("tree/directoryLink"));
    ::chmod(folder.Path("tree/closed").c_str(), 0);

    RemoveTree(folder.Path("tree"));

    EXPECT_FALSE(Exists("tree"));
    EXPECT_TRUE(Exists("kept"));
    EXPECT_TRUE(Exists("keptDirectory/file"));
}

} // namespace
} // namespace VelrixBoard
