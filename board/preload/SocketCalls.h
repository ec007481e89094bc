// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/socket.h>
#include <sys/un.h>

namespace VelrixBoard::Preload {

// A Unix socket address argument, redirected like other paths. An address holds 107 bytes; a longer outside path uses a
// descriptor of its directory during this object's lifetime.
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
