// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <string>
#include <string_view>

#include <httplib.h>

namespace VelrixBoard {

// One client's connection as the HTTP library reads and writes it, with the bounds that the library has not: on the
// headers as a whole, and on the time that a request and an answer may take.
//
// A client has the patience to begin its request, again to send the rest of it, and again each time that it has to read
// something to make room for more.
class PanelConnection final : public httplib::Stream {
public:
    // Request line and headers. The cookies of all other servers on 127.0.0.1 may be among them.
    static constexpr std::size_t LONGEST_HEAD = 32768;
    // No name here is anywhere near as long.
    static constexpr std::size_t LONGEST_REQUEST_LINE = 1024;
    // One write, as a multiple of the patience, however slowly it goes on.
    static constexpr int LONGEST_WRITE = 10;

    // Does not own the socket.
    PanelConnection(int openSocket, std::chrono::milliseconds clientPatience)
        : descriptor(openSocket), patience(clientPatience) {}

    enum class Head { READ, NOTHING_CAME, TOO_SLOW, TOO_LONG, LINE_TOO_LONG };

    // Reads the head of the request; the library gets it once it is READ.
    Head ReadHead();

    // Lets the client read the answer before the connection is closed: unread bytes of a request would make the kernel
    // take the answer back.
    void Finish();

    bool is_readable() const override;
    // False as well when the client has gone or was dropped.
    bool is_writable() const override;
    ssize_t read(char* buffer, std::size_t size) override;
    ssize_t write(const char* text, std::size_t size) override;
    void get_remote_ip_and_port(std::string& address, int& port) const override;
    void get_local_ip_and_port(std::string& address, int& port) const override;
    int socket() const override { return descriptor; }

private:
    using Clock = std::chrono::steady_clock;

    short Wait(short events, Clock::time_point limit) const;
    ssize_t Receive(char* buffer, std::size_t size, Clock::time_point limit) const;
    void LeaveOutRange(std::size_t headSize);

    const int descriptor;
    const std::chrono::milliseconds patience;
    Clock::time_point requestEnd{}; // when the request must have come
    std::string received;           // the head, and what came with it
    std::size_t taken = 0;          // of that, by the library
};

} // namespace VelrixBoard
