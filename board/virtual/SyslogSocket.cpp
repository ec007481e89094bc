// SPDX-License-Identifier: Apache-2.0
#include "board/virtual/SyslogSocket.h"

#include <cstring>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include "board/virtual/BoardError.h"

namespace VelrixBoard {

namespace {

constexpr std::size_t LONGEST_RECORD = 65536;

} // namespace

SyslogSocket::SyslogSocket(const std::filesystem::path& path, Action onRecord)
    : socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)), action(std::move(onRecord)),
      buffer(LONGEST_RECORD) {
    // An address holds 107 bytes, less than many a path; by its directory's descriptor the socket has a short name.
    const FileDescriptor directory(::open(path.parent_path().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    const std::string name = "/proc/self/fd/" + std::to_string(directory.Get()) + "/" + path.filename().string();
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    name.copy(address.sun_path, sizeof address.sun_path - 1);
    if (!socket || !directory || ::bind(socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        ThrowSystemError("cannot make the log socket " + path.string());
    // A program may have given up its user's rights.
    ::chmod(path.c_str(), 0666);
}

void SyslogSocket::Dispatch() {
    for (;;) {
        const ssize_t length = ::recv(socket.Get(), buffer.data(), buffer.size(), 0);
        if (length < 0)
            return;
        std::string_view record(buffer.data(), static_cast<std::size_t>(length));
        while (!record.empty() && (record.back() == '\n' || record.back() == '\0'))
            record.remove_suffix(1);
        action(record);
    }
}

} // namespace VelrixBoard
