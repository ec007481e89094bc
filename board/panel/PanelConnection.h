// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <string>

#include <httplib.h>

namespace VelrixBoard {

// One client's connection for the HTTP library, with limits that the library lacks: on the total size of the headers,
// and on the time of a request and of an answer.
//
// The patience is the timeout for the beginning of a request, for the rest of it, and for each read that makes room for
// more.
class PanelConnection final : public httplib::Stream {
public:
    // Request line and headers, including the cookies of all other servers on 127.0.0.1.
    static constexpr std::size_t LONGEST_HEAD = 32768;
    // The panel's names are much shorter.
    static constexpr std::size_t LONGEST_REQUEST_LINE = 1024;
    // The timeout of one write in total, as a multiple of the patience.
    static constexpr int LONGEST_WRITE = 10;

    // Does not own the socket.
    PanelConnection(int openSocket, std::chrono::milliseconds clientPatience)
        : descriptor(openSocket), patience(clientPatience) {}

    enum class Head { READ, NOTHING_CAME, TOO_SLOW, TOO_LONG, LINE_TOO_LONG };

    // Reads the head of the request, for the library once the result is READ.
    Head ReadHead();

    // Lingers: closing with unread bytes of a request would reset the connection and discard the answer.
    void Finish();

    bool is_readable() const override;
    // Also false when the client disconnected or was dropped.
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
    Clock::time_point requestEnd{}; // the deadline of the request
    std::string received;           // the head, and bytes that came with it
    std::size_t taken = 0;          // consumed by the library
};

} // namespace VelrixBoard
