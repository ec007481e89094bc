// SPDX-License-Identifier: Apache-2.0
#include "board/virtual/FileWatcher.h"

#include <gtest/gtest.h>

#include "board/virtual/BoardError.h"
#include "tests/support/TemporaryFolder.h"

namespace VelrixBoard {
namespace {

using TestSupport::TemporaryFolder;

TEST(FileWatcherTest, TellsWhichFileWasWritten) {
    const TemporaryFolder folder;
    folder.Write("a", "");
    folder.Write("b", "");
    std::string log;
    FileWatcher watcher;
    watcher.WatchFile(folder.Path("a"), [&] { log += "a"; });
    watcher.WatchFile(folder.Path("b"), [&] { log += "b"; });
    watcher.WatchFile(folder.Path("b"), [&] { log += "B"; });

    watcher.Dispatch();
    EXPECT_EQ(log, "");

    folder.Write("b", "1");
    watcher.Dispatch();
    EXPECT_NE(log.find("bB"), std::string::npos);
    EXPECT_EQ(log.find('a'), std::string::npos);

    log.clear();
    watcher.Dispatch();
    EXPECT_EQ(log, "");
}

TEST(FileWatcherTest, WatchesANameThatIsNotThereYet) {
    const TemporaryFolder folder;
    int calls = 0;
    FileWatcher watcher;
    watcher.WatchName(folder.Path("log"), [&] { ++calls; });

    folder.Write("other", "1");
    watcher.Dispatch();
    EXPECT_EQ(calls, 0);

    folder.Write("log", "1");
    watcher.Dispatch();
    EXPECT_GT(calls, 0);
}

TEST(FileWatcherTest, RefusesAFileThatIsNotThere) {
    const TemporaryFolder folder;
    FileWatcher watcher;
    try {
        watcher.WatchFile(folder.Path("a"), [] {});
        FAIL();
    } catch (const BoardError& error) {
        EXPECT_EQ(error.what(), "cannot watch " + folder.Path("a") + ": No such file or directory");
    }
}

} // namespace
} // namespace VelrixBoard
