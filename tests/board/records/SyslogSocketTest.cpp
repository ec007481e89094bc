// SPDX-License-Identifier: Apache-2.0
#include "board/records/SyslogSocket.h"

#include <filesystem>
#include <string>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "board/base/BoardError.h"
#include "tests/support/TemporaryFolder.h"

namespace VelrixBoard {
namespace {

using TestSupport::TemporaryFolder;

void SendTo(const std::string& directory, const std::string& name, const std::string& record) {
    const FileDescriptor place(::open(directory.c_str(), O_PATH | O_CLOEXEC));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const std::string path = "/proc/self/fd/" + std::to_string(place.Get()) + "/" + name;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    const FileDescriptor sender(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    EXPECT_EQ(::sendto(sender.Get(), record.data(), record.size(), 0, reinterpret_cast<const sockaddr*>(&address),
                       sizeof address),
              static_cast<ssize_t>(record.size()));
}

TEST(SyslogSocketTest, TellsRecordsAtAPathOfAnyLength) {
    const TemporaryFolder folder;
    const std::string directory = folder.Path(std::string(120, 'd'));
    std::filesystem::create_directory(directory);
    std::string log;
    SyslogSocket socket(directory + "/log", [&](std::string_view record) { log += "<" + std::string(record) + ">"; });
    struct stat status {};
    ASSERT_EQ(::stat((directory + "/log").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0666U);

    SendTo(directory, "log", "<14>one");
    SendTo(directory, "log", "two\n");
    SendTo(directory, "log", std::string("three\n\0", 7));
    SendTo(directory, "log", "four\nfive");
    SendTo(directory, "log", "");
    pollfd wait{socket.Descriptor(), POLLIN, 0};
    EXPECT_EQ(::poll(&wait, 1, 0), 1);
    socket.Dispatch();

    EXPECT_EQ(log, "<<14>one><two><three><four\nfive><>");
    EXPECT_EQ(::poll(&wait, 1, 0), 0);
}

TEST(SyslogSocketTest, CutsARecordThatIsTooLong) {
    const TemporaryFolder folder;
    std::string log;
    SyslogSocket socket(folder.Path("log"), [&](std::string_view record) { log += "<" + std::string(record) + ">"; });

    SendTo(folder.Path(), "log", std::string(65536, 'x'));
    SendTo(folder.Path(), "log", std::string(65537, 'y'));
    SendTo(folder.Path(), "log", "next");
    socket.Dispatch();

    EXPECT_EQ(log, "<" + std::string(65536, 'x') + "><" + std::string(65536, 'y') +
                       " ... (cut: longer than 65536 bytes)><next>");
}

// A program that sends as fast as the board reads must not starve the board.
TEST(SyslogSocketTest, ComesBackAfterATurnsRecords) {
    const TemporaryFolder folder;
    int records = 0;
    SyslogSocket socket(folder.Path("log"), [&](std::string_view) {
        if (++records < 5000)
            SendTo(folder.Path(), "log", "x");
    });
    SendTo(folder.Path(), "log", "x");

    socket.Dispatch();
    EXPECT_EQ(records, 1024);
    socket.Dispatch();
    EXPECT_EQ(records, 2048);
}

TEST(SyslogSocketTest, SaysWhereItCannotBeMade) {
    const TemporaryFolder folder;
    EXPECT_THROW(SyslogSocket(folder.Path("missing/log"), [](std::string_view) {}), BoardError);
}

} // namespace
} // namespace VelrixBoard
