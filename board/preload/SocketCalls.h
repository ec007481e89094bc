// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/socket.h>
#include <sys/un.h>

namespace VelrixBoard::Preload {

// The address of a Unix socket that a program gives to a call, led like other paths. An address has room for 107 bytes,
// less than many a path outside: a longer one goes by a descriptor of its directory, while this object lasts.
class SocketAddress final {
public:
    SocketAddress(const sockaddr* address, socklen_t size);
    SocketAddress(const SocketAddress&) = delete;
    SocketAddress& operator=(const SocketAddress&) = delete;
    ~SocketAddress();

    const sockaddr* Get() const { return isLed ? reinterpret_cast<const sockaddr*>(&led) : given; }
    socklen_t Size() const { return isLed ? static_cast<socklen_t>(sizeof led) : givenSize; }

private:
    bool Shorten(const char* path);

    const sockaddr* given;
    socklen_t givenSize;
    sockaddr_un led{};
    bool isLed = false;
    int directory = -1;
};

} // namespace VelrixBoard::Preload
