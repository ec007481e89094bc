// SPDX-License-Identifier: Apache-2.0
#include "board/loop/StreamWriter.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <string>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/socket.h>
#include <termios.h>

#include "tests/support/TemporaryFolder.h"

namespace VelrixBoard {
namespace {

// Both ends of something that text goes through.
struct Ends {
    FileDescriptor reading;
    FileDescriptor writing;

    // All that can be read now.
    std::string Read() const {
        std::array<char, 4096> buffer;
        std::string text;
        pollfd readable{reading.Get(), POLLIN, 0};
        ssize_t length = 0;
        while (::poll(&readable, 1, 0) == 1 && (length = ::read(reading.Get(), buffer.data(), buffer.size())) > 0)
            text.append(buffer.data(), static_cast<std::size_t>(length));
        return text;
    }
};

Ends MakePipe() {
    std::array<int, 2> ends{};
    EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    return {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

Ends MakeSocket() {
    std::array<int, 2> ends{};
    EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
    return {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

Ends MakeTerminal() {
    int master = -1, slave = -1;
    EXPECT_EQ(::openpty(&master, &slave, nullptr, nullptr, nullptr), 0);
    termios settings{};
    ::tcgetattr(slave, &settings);
    ::cfmakeraw(&settings);
    ::tcsetattr(slave, TCSANOW, &settings);
    return {FileDescriptor(master), FileDescriptor(slave)};
}

// Lines that differ, so that a lost or doubled part shows.
std::string Line(int number) {
    return std::to_string(number) + std::string(90, '.') + "\n";
}

TEST(StreamWriterTest, WritesAtOnceWhatFindsRoom) {
    for (const auto& make : {MakePipe, MakeSocket, MakeTerminal}) {
        const Ends ends = make();
        StreamWriter writer(ends.writing.Get());

        writer.Write("one\n");
        writer.Write("two\n");

        EXPECT_TRUE(writer.IsWritten());
        EXPECT_EQ(writer.Descriptor(), -1);
        EXPECT_EQ(ends.Read(), "one\ntwo\n");
    }
}

// Hangs where it waits for the reader.
TEST(StreamWriterTest, FinishesWithWhatFindsRoomWhenNobodyHasPatience) {
    const Ends ends = MakePipe();
    StreamWriter writer(ends.writing.Get());
    const std::string text(100'000, 'x'); // more than the pipe holds, less than twice that
    const StreamWriter::Patience none{{}, [] { return true; }};
    writer.Write(text);

    EXPECT_FALSE(writer.Finish(none));
    std::string read = ends.Read();
    EXPECT_LT(read.size(), text.size());
    EXPECT_TRUE(writer.Finish(none));
    EXPECT_EQ(read + ends.Read(), text);
}

// Hangs where a write waits for the reader.
TEST(StreamWriterTest, KeepsWhatFindsNoRoomInItsOrder) {
    for (const auto& make : {MakePipe, MakeSocket, MakeTerminal}) {
        const Ends ends = make();
        StreamWriter writer(ends.writing.Get());
        std::string all, read;
        int number = 0;
        while (writer.IsWritten()) {
            all += Line(number);
            writer.Write(Line(number++));
        }
        for (int i = 0; i < 100; ++i) {
            all += Line(number);
            writer.Write(Line(number++));
        }

        pollfd room{writer.Descriptor(), POLLOUT, 0};
        EXPECT_EQ(::poll(&room, 1, 0), 0) << "no room";
        for (int turns = 0; !writer.IsWritten() && turns < 1000; ++turns) {
            read += ends.Read();
            room.fd = writer.Descriptor();
            ASSERT_EQ(::poll(&room, 1, 10'000), 1);
            writer.Run({});
        }

        read += ends.Read();
        EXPECT_EQ(read, all);
        // Those who share the stream wait for room as they always did.
        EXPECT_EQ(::fcntl(ends.writing.Get(), F_GETFL) & O_NONBLOCK, 0);
    }
}

TEST(StreamWriterTest, LeavesOutAndCountsWhatNobodyReads) {
    const Ends ends = MakePipe();
    StreamWriter writer(ends.writing.Get());
    constexpr int LINES = 60'000;
    for (int number = 0; number < LINES; ++number)
        writer.Write(Line(number));

    std::string read;
    while (!writer.IsWritten()) {
        read += ends.Read();
        writer.Run({});
    }
    read += ends.Read();

    const auto lines = std::count(read.begin(), read.end(), '\n') - 1;
    EXPECT_LT(read.size(), 2 * StreamWriter::MOST_WAITING);
    EXPECT_GT(read.size(), StreamWriter::MOST_WAITING);
    EXPECT_THAT(read,
                testing::EndsWith(Line(static_cast<int>(lines) - 1) + "velrix-board: " + std::to_string(LINES - lines) +
                                  " lines are left out here, which nobody read in time\n"));
    writer.Write("later\n");
    EXPECT_EQ(ends.Read(), "later\n");
}

TEST(StreamWriterTest, DropsWhatAStreamRefusesForGood) {
    ::signal(SIGPIPE, SIG_IGN);
    Ends ends = MakePipe();
    StreamWriter writer(ends.writing.Get());
    while (writer.IsWritten())
        writer.Write(Line(0));
    ends.reading.Close();

    writer.Run({});

    EXPECT_TRUE(writer.IsWritten());
    EXPECT_EQ(writer.Descriptor(), -1);
}

TEST(StreamWriterTest, AppendsWhereAFileIs) {
    const TestSupport::TemporaryFolder folder;
    const FileDescriptor file(::open(folder.Path("file").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
    ASSERT_EQ(::write(file.Get(), "before\n", 7), 7);
    StreamWriter writer(file.Get());

    writer.Write("one\n");

    ASSERT_EQ(::write(file.Get(), "behind\n", 7), 7);
    EXPECT_EQ(folder.Read("file"), "before\none\nbehind\n");
}

} // namespace
} // namespace VelrixBoard
