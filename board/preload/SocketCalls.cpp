// SPDX-License-Identifier: Apache-2.0
// Hooks for Unix sockets of the board, such as /dev/log.
#include "board/preload/SocketCalls.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstring>

#include "board/preload/Kernel.h"
#include "board/preload/Next.h"
#include "board/preload/Path.h"
#include "board/preload/Preloaded.h"
#include "board/preload/Time.h"

namespace VelrixBoard::Preload {

namespace {

constinit Next<int(int, const sockaddr*, socklen_t)> nextConnect{"connect"};
constinit Next<int(int, const sockaddr*, socklen_t)> nextBind{"bind"};
constinit Next<ssize_t(int, const void*, size_t, int, const sockaddr*, socklen_t)> nextSendTo{"sendto"};
constinit Next<ssize_t(int, const msghdr*, int)> nextSendMessage{"sendmsg"};

} // namespace

SocketAddress::SocketAddress(const sockaddr* address, socklen_t size) : given(address), givenSize(size) {
    constexpr std::size_t BEGIN = offsetof(sockaddr_un, sun_path);
    if (Names::Current() == nullptr || address == nullptr || size <= BEGIN || address->sa_family != AF_UNIX)
        return;
    const auto* const text = reinterpret_cast<const sockaddr_un*>(address)->sun_path;
    if (text[0] == '\0')
        return;
    char path[sizeof(sockaddr_un) + 1] = {};
    std::memcpy(path, text, std::min(size - BEGIN, sizeof path - 1));
    const Path ledPath(AT_FDCWD, path, Follow::YES);
    if (!ledPath.IsOnList())
        return;
    led.sun_family = AF_UNIX;
    if (std::strlen(ledPath.Text()) < sizeof led.sun_path) {
        std::strcpy(led.sun_path, ledPath.Text());
        isLed = true;
    } else {
        isLed = Shorten(ledPath.Text());
    }
}

SocketAddress::~SocketAddress() {
    const Kernel::KeptErrno kept;
    if (directory >= 0)
        Kernel::Close(directory);
}

bool SocketAddress::Shorten(const char* path) {
    const char* const name = std::strrchr(path, '/') + 1;
    char parent[PATH_MAX];
    std::memcpy(parent, path, static_cast<std::size_t>(name - path));
    parent[name - path] = '\0';
    directory = Kernel::Open(AT_FDCWD, parent, O_PATH | O_DIRECTORY | O_CLOEXEC);
    const int length = std::snprintf(led.sun_path, sizeof led.sun_path, "/proc/self/fd/%d/%s", directory, name);
    return directory >= 0 && length > 0 && static_cast<std::size_t>(length) < sizeof led.sun_path;
}

} // namespace VelrixBoard::Preload

using namespace VelrixBoard::Preload;

VELRIX_PRELOADED(int, connect, int socket, const sockaddr* address, socklen_t size) {
    const bool isInternet = address != nullptr && (address->sa_family == AF_INET || address->sa_family == AF_INET6);
    TimePage* const page = isInternet ? Time::Page() : nullptr;
    if (page != nullptr)
        Time::NoteUnserved(*page, Unserved::CONNECTION);
    const SocketAddress led(address, size);
    return nextConnect(socket, led.Get(), led.Size());
}

VELRIX_PRELOADED(int, bind, int socket, const sockaddr* address, socklen_t size) {
    const SocketAddress led(address, size);
    return nextBind(socket, led.Get(), led.Size());
}

VELRIX_PRELOADED(ssize_t, sendto, int socket, const void* text, size_t textSize, int flags, const sockaddr* address,
                 socklen_t size) {
    const SocketAddress led(address, size);
    return nextSendTo(socket, text, textSize, flags, led.Get(), led.Size());
}

VELRIX_PRELOADED(ssize_t, sendmsg, int socket, const msghdr* message, int flags) {
    if (message == nullptr || message->msg_name == nullptr)
        return nextSendMessage(socket, message, flags);
    const SocketAddress led(static_cast<const sockaddr*>(message->msg_name), message->msg_namelen);
    msghdr copy = *message;
    copy.msg_name = const_cast<sockaddr*>(led.Get());
    copy.msg_namelen = led.Size();
    return nextSendMessage(socket, &copy, flags);
}
