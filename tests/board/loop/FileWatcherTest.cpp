// SPDX-License-Identifier: Apache-2.0
#include "board/loop/FileWatcher.h"

#include <string>

#include <poll.h>

#include <gtest/gtest.h>

#include "board/base/BoardError.h"
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

TEST(FileWatcherTest, TellsManyWritesAsOneInTheOrderOfTheFirst) {
    const TemporaryFolder folder;
    folder.Write("a", "");
    folder.Write("b", "");
    std::string log;
    FileWatcher watcher;
    watcher.WatchFile(folder.Path("a"), [&] { log += "a"; });
    watcher.WatchFile(folder.Path("b"), [&] { log += "b"; });

    for (const char* name : {"b", "a", "b", "a"})
        folder.Write(name, "1");
    watcher.Dispatch();

    EXPECT_EQ(log, "ba");
}

// A program that writes as fast as the board reads must not hold the board.
TEST(FileWatcherTest, LeavesWhatIsWrittenMeanwhileToTheNextTurn) {
    const TemporaryFolder folder;
    folder.Write("a", "");
    int calls = 0;
    FileWatcher watcher;
    watcher.WatchFile(folder.Path("a"), [&] {
        if (++calls < 1000)
            folder.Write("a", "1");
    });
    folder.Write("a", "1");

    watcher.Dispatch();
    EXPECT_EQ(calls, 1);
    watcher.Dispatch();
    EXPECT_EQ(calls, 2);
}

TEST(FileWatcherTest, CallsAnActionAgainThatHasMoreToDo) {
    const TemporaryFolder folder;
    folder.Write("a", "");
    folder.Write("b", "");
    std::string log;
    FileWatcher watcher;
    watcher.WatchFile(folder.Path("a"), [&] {
        log += "a";
        if (log != "aaba")
            watcher.CallAgain();
    });
    watcher.WatchFile(folder.Path("b"), [&] { log += "b"; });
    const auto isReadable = [&watcher] {
        pollfd wait{watcher.Descriptor(), POLLIN, 0};
        return ::poll(&wait, 1, 0) == 1;
    };
    EXPECT_FALSE(isReadable());

    folder.Write("a", "1");
    watcher.Dispatch();
    EXPECT_EQ(log, "a");
    EXPECT_TRUE(isReadable());

    folder.Write("a", "2");
    folder.Write("b", "1");
    watcher.Dispatch();
    EXPECT_EQ(log, "aab");
    EXPECT_TRUE(isReadable());

    watcher.Dispatch();
    EXPECT_EQ(log, "aaba");
    EXPECT_FALSE(isReadable());
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
