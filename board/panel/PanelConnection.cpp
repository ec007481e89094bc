// SPDX-License-Identifier: Apache-2.0
#include "board/panel/PanelConnection.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <strings.h>
#include <sys/socket.h>

namespace VelrixBoard {

namespace {

constexpr std::string_view HEAD_END = "\r\n\r\n";

// How much a client may still send after its answer.
constexpr std::size_t LONGEST_REMAINDER = std::size_t{1024} * 1024;

void TakeAddress(int socket, int (*nameOf)(int, sockaddr*, socklen_t*), std::string& address, int& port) {
    sockaddr_in name{};
    socklen_t length = sizeof name;
    if (nameOf(socket, reinterpret_cast<sockaddr*>(&name), &length) != 0)
        return;
    std::array<char, INET_ADDRSTRLEN> text{};
    ::inet_ntop(AF_INET, &name.sin_addr, text.data(), text.size());
    address = text.data();
    port = ntohs(name.sin_port);
}

} // namespace

PanelConnection::Head PanelConnection::ReadHead() {
    if (Wait(POLLIN, Clock::now() + patience) == 0)
        return Head::NOTHING_CAME;
    requestEnd = Clock::now() + patience;
    std::array<char, 4096> part;
    for (;;) {
        const std::size_t before = received.size() - std::min(received.size(), HEAD_END.size() - 1);
        const ssize_t length = Receive(part.data(), part.size(), requestEnd);
        if (length <= 0)
            return length == 0 || received.empty() ? Head::NOTHING_CAME : Head::TOO_SLOW;
        received.append(part.data(), static_cast<std::size_t>(length));
        const std::size_t end = received.find(HEAD_END, before);
        if (std::min(received.find("\r\n"), received.size()) > LONGEST_REQUEST_LINE)
            return Head::LINE_TOO_LONG;
        if (std::min(end, received.size()) > LONGEST_HEAD)
            return Head::TOO_LONG;
        if (end != std::string::npos) {
            LeaveOutRange(end);
            return Head::READ;
        }
    }
}

// Ignores Range: for a few thousand overlapping ranges the library would send as many copies of a file. Servers need
// not support ranges.
void PanelConnection::LeaveOutRange(std::size_t headSize) {
    constexpr std::string_view NAME = "\r\nRange:";
    for (std::size_t at = received.find("\r\n"); at < headSize;) {
        const std::size_t end = received.find("\r\n", at + 2);
        if (::strncasecmp(received.c_str() + at, NAME.data(), NAME.size()) == 0) {
            received.erase(at, end - at);
            headSize -= end - at;
        } else {
            at = end;
        }
    }
}

void PanelConnection::Finish() {
    ::shutdown(descriptor, SHUT_WR);
    const Clock::time_point limit = Clock::now() + patience;
    std::array<char, 4096> part;
    for (std::size_t left = LONGEST_REMAINDER; left >= part.size(); left -= part.size())
        if (Receive(part.data(), part.size(), limit) <= 0)
            return;
}

bool PanelConnection::is_readable() const {
    return taken < received.size() || Wait(POLLIN, Clock::now() + patience) != 0;
}

bool PanelConnection::is_writable() const {
    return Wait(POLLOUT | POLLRDHUP, Clock::now() + patience) == POLLOUT;
}

ssize_t PanelConnection::read(char* buffer, std::size_t size) {
    if (taken == received.size())
        return Receive(buffer, size, requestEnd);
    const std::size_t length = received.copy(buffer, size, taken);
    taken += length;
    return static_cast<ssize_t>(length);
}

ssize_t PanelConnection::write(const char* text, std::size_t size) {
    const Clock::time_point limit = Clock::now() + LONGEST_WRITE * patience;
    for (std::size_t written = 0; written < size;) {
        if (Wait(POLLOUT, std::min(limit, Clock::now() + patience)) == 0)
            return -1;
        const ssize_t length = ::send(descriptor, text + written, size - written, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (length < 0 && errno != EINTR && errno != EAGAIN)
            return -1;
        written += length > 0 ? static_cast<std::size_t>(length) : 0;
    }
    return static_cast<ssize_t>(size);
}

void PanelConnection::get_remote_ip_and_port(std::string& address, int& port) const {
    TakeAddress(descriptor, ::getpeername, address, port);
}

void PanelConnection::get_local_ip_and_port(std::string& address, int& port) const {
    TakeAddress(descriptor, ::getsockname, address, port);
}

// The bytes received, or the end of the connection; 0 on a timeout.
short PanelConnection::Wait(short events, Clock::time_point limit) const {
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(limit - Clock::now()).count();
        if (left < 0)
            return 0;
        pollfd wait{descriptor, events, 0};
        const int ready = ::poll(&wait, 1, static_cast<int>(left));
        if (ready >= 0 || errno != EINTR)
            return ready > 0 ? wait.revents : short{0};
    }
}

// The result of recv, or -1 on a timeout.
ssize_t PanelConnection::Receive(char* buffer, std::size_t size, Clock::time_point limit) const {
    return Wait(POLLIN, limit) != 0 ? ::recv(descriptor, buffer, size, MSG_DONTWAIT) : -1;
}

} // namespace VelrixBoard
