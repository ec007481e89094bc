// SPDX-License-Identifier: Apache-2.0
#include "board/commands/CommandArguments.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "board/base/FileDescriptor.h"
#include "tests/board/CommandRun.h"
#include "tests/support/TemporaryFolder.h"

namespace VelrixBoard {
namespace {

using TestSupport::TemporaryFolder;

// In a process that was started without some of the streams: whether each is /dev/null afterwards, "-" for one that is
// something else.
std::string AfterClosing(const std::vector<int>& streams) {
    const TemporaryFolder folder;
    const pid_t process = ::fork();
    if (process == 0) {
        // Whoever starts the tests may have given them /dev/null.
        const FileDescriptor other(::open(folder.Path("other").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
        for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
            ::dup2(other.Get(), stream);
        for (const int stream : streams)
            ::close(stream);
        OpenMissingStandardStreams();
        const FileDescriptor result(::open(folder.Path("result").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
        struct stat nothing {
        }, status{};
        ::stat("/dev/null", &nothing);
        for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
            const bool isNull = ::fstat(stream, &status) == 0 && status.st_rdev == nothing.st_rdev &&
                                (::fcntl(stream, F_GETFL) & O_ACCMODE) == O_RDWR;
            (void)!::write(result.Get(), isNull ? "n" : "-", 1);
        }
        ::_exit(0);
    }
    ::waitpid(process, nullptr, 0);
    return folder.Read("result");
}

TEST(StandardStreamsTest, AreNothingWhereTheyWereMissing) {
    const struct {
        std::vector<int> closed;
        const char* result;
    } rows[] = {{{}, "---"}, {{0}, "n--"}, {{1}, "-n-"}, {{2}, "--n"}, {{0, 2}, "n-n"}, {{0, 1, 2}, "nnn"}};
    for (const auto& row : rows)
        EXPECT_EQ(AfterClosing(row.closed), row.result);
}

// What the board prints on a missing stream once went into the record that had got its number.
TEST(StandardStreamsTest, StayOutOfTheRecordsOfABoardThatWasStartedWithoutThem) {
    const TemporaryFolder folder;
    const std::string board = folder.Path("board");

    const CommandEnd end = CommandRun{{"sh", "-c", "exec 0<&- 1>&- 2>&-; exec \"$@\"", "sh", VELRIX_BOARD_COMMAND,
                                       "run", "--directory", board, "--panel=0", "--terminal", "--", "sh", "-c",
                                       "printf 1 > /sys/class/leds/ledGwStsRed/brightness; echo printed; "
                                       "for f in 0 1 2; do readlink /proc/self/fd/$f; done > /mnt/share/streams"}}
                               .Run();

    EXPECT_EQ(end.ExitCode(), 0);
    EXPECT_THAT(folder.Read("board/writes"), testing::MatchesRegex("[0-9.]+ MS.red 1\n"));
    EXPECT_THAT(folder.Read("board/changes"), testing::MatchesRegex("[0-9.]+ MS.red 1\n"));
    EXPECT_EQ(folder.Read("board/syslog"), "");
    EXPECT_THAT(folder.Read("board/share/streams"), testing::HasSubstr("/dev/null\n"));
}

} // namespace
} // namespace VelrixBoard
