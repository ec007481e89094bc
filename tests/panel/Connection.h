// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>

#include "board/base/FileDescriptor.h"

namespace VelrixBoard {

// A raw connection, byte by byte, like a browser's or an attacker's.
class Connection final {
public:
    explicit Connection(int port) : socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<std::uint16_t>(port));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        EXPECT_EQ(::connect(socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    }

    Connection& Send(const std::string& text) {
        EXPECT_EQ(::send(socket.Get(), text.data(), text.size(), MSG_NOSIGNAL), static_cast<ssize_t>(text.size()));
        return *this;
    }

    // Reads until the text, the end of the connection, or 20 s without a byte.
    std::string ReadUntil(const std::string& text) {
        std::string all;
        char buffer[4096];
        while (all.find(text) == std::string::npos) {
            pollfd wait{socket.Get(), POLLIN, 0};
            if (::poll(&wait, 1, 20'000) != 1)
                break;
            const ssize_t length = ::recv(socket.Get(), buffer, sizeof buffer, 0);
            if (length <= 0)
                break;
            all.append(buffer, static_cast<std::size_t>(length));
        }
        return all;
    }
    std::string ReadAll() { return ReadUntil("text that does not come"); }

private:
    FileDescriptor socket;
};

// The panel's answer to a GET of the path or a POST to it; adds Content-Length.
inline std::string Ask(int port, const std::string& method, const std::string& path, const std::string& body = "") {
    return Connection(port)
        .Send(method + " " + path + " HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(port) +
              "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body)
        .ReadAll();
}

// The body of the panel's answer to GET /state; the test fails for any other answer than that.
inline std::string StateOfPanel(int port) {
    const std::string answer = Ask(port, "GET", "/state");
    EXPECT_EQ(answer.substr(0, answer.find(' ', answer.find(' ') + 1)), "HTTP/1.1 200") << answer;
    const std::size_t end = answer.find("\r\n\r\n");
    return end == std::string::npos ? "" : answer.substr(end + 4);
}

} // namespace VelrixBoard
