// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <utility>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include "board/base/FileDescriptor.h"

namespace TestSupport {

// A client's connection to the emulator, with the emulator's end in the test's hands.
class EmulatorConnection final {
public:
    EmulatorConnection() {
        int pair[2] = {-1, -1};
        EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, pair), 0);
        ::fcntl(pair[0], F_SETFL, O_NONBLOCK);
        clientsEnd = VelrixBoard::FileDescriptor(pair[0]);
        emulatorsEnd = VelrixBoard::FileDescriptor(pair[1]);
    }

    // For the client to own; once.
    VelrixBoard::FileDescriptor TakeClientsEnd() { return std::move(clientsEnd); }

    // What the client has sent since the last call.
    std::string Sent() const {
        char buffer[4096];
        const ssize_t count = ::recv(emulatorsEnd.Get(), buffer, sizeof buffer, MSG_DONTWAIT);
        return {buffer, count > 0 ? static_cast<std::size_t>(count) : 0};
    }

    // What the emulator sends; may come before the client asks.
    void Answer(const std::string& bytes) const {
        ASSERT_EQ(::send(emulatorsEnd.Get(), bytes.data(), bytes.size(), MSG_NOSIGNAL),
                  static_cast<ssize_t>(bytes.size()));
    }

    // As when the emulator ends.
    void Close() { emulatorsEnd.Close(); }

private:
    VelrixBoard::FileDescriptor clientsEnd;
    VelrixBoard::FileDescriptor emulatorsEnd;
};

} // namespace TestSupport
