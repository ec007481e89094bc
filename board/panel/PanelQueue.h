// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <deque>
#include <exception>
#include <functional>
#include <future>
#include <mutex>
#include <stdexcept>
#include <string>

#include "board/base/FileDescriptor.h"

namespace VelrixBoard {

// A failed request: an HTTP status other than 200, and a message for the client.
class PanelError final : public std::runtime_error {
public:
    PanelError(int httpStatus, const std::string& text) : std::runtime_error(text), status(httpStatus) {}
    int Status() const { return status; }

private:
    int status;
};

// Carries work from any thread to the board's loop, which owns the board.
class PanelQueue final {
public:
    using Work = std::function<void()>;

    // Queue limit; further requests get 503.
    static constexpr std::size_t LONGEST = 64;

    // Throws BoardError when the process has no descriptor left.
    PanelQueue();

    // Readable when there is work.
    int Descriptor() const { return event.Get(); }

    // For the event loop: executes all queued work; its exceptions go to the sender.
    void Run();

    // For the event loop: rejects queued and later work.
    void Close();

    // For any other thread: returns when the event loop has done the work. Throws what the work throws, and PanelError
    // 503 when the board ends, is overloaded, or the timeout expires.
    void Do(Work work, std::chrono::milliseconds longest = std::chrono::seconds(5));

private:
    struct Waiting {
        Work work;
        // The exception of the work, or null. Moved to the waiting thread, which releases it: the C++ library does that
        // in code that the thread sanitizer does not instrument.
        std::promise<std::exception_ptr> done;
    };

    FileDescriptor event;
    std::mutex mutex;
    std::deque<Waiting> waiting;
    bool closed = false;
};

} // namespace VelrixBoard
