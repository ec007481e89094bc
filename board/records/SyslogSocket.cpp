// SPDX-License-Identifier: Apache-2.0
#include "board/records/SyslogSocket.h"

#include <cstring>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include "board/base/BoardError.h"
#include "board/records/LogTail.h"

namespace VelrixBoard {

namespace {

constexpr std::size_t LONGEST_RECORD = LogTail::LONGEST_LINE;

// More than the kernel's queue (net.unix.max_dgram_qlen, 512 on Debian), so that one turn takes all that was sent
// before it; but a limit, so that a fast sender cannot keep the board in this loop.
constexpr int RECORDS_PER_TURN = 1024;

} // namespace

SyslogSocket::SyslogSocket(const std::filesystem::path& path, Action onRecord)
    : socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)), action(std::move(onRecord)),
      buffer(LONGEST_RECORD + LogTail::CUT.size()) {
    // A socket address holds only 107 bytes; a path via /proc/self/fd of the directory is short enough.
    const FileDescriptor directory(::open(path.parent_path().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    const std::string name = "/proc/self/fd/" + std::to_string(directory.Get()) + "/" + path.filename().string();
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    name.copy(address.sun_path, sizeof address.sun_path - 1);
    if (!socket || !directory || ::bind(socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        ThrowSystemError("cannot make the log socket " + path.string());
    // A program may have dropped its user's privileges.
    ::chmod(path.c_str(), 0666);
}

void SyslogSocket::Dispatch() {
    for (int records = 0; records < RECORDS_PER_TURN; ++records) {
        const ssize_t length = ::recv(socket.Get(), buffer.data(), LONGEST_RECORD, MSG_TRUNC);
        if (length < 0)
            return;
        action(Record(static_cast<std::size_t>(length)));
    }
}

// Trims and, by the sent length, truncates the record in the buffer.
std::string_view SyslogSocket::Record(std::size_t length) {
    if (length > LONGEST_RECORD) {
        LogTail::CUT.copy(buffer.data() + LONGEST_RECORD, LogTail::CUT.size());
        return {buffer.data(), buffer.size()};
    }
    std::string_view record(buffer.data(), length);
    while (!record.empty() && (record.back() == '\n' || record.back() == '\0'))
        record.remove_suffix(1);
    return record;
}

} // namespace VelrixBoard
