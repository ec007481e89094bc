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

// A request that is answered by an HTTP status other than 200, and a text for the one who sent it.
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

    // Waiting work at most; pages that send more are told to wait.
    static constexpr std::size_t LONGEST = 64;

    // Throws BoardError when the system has no descriptor left.
    PanelQueue();

    // Readable when there is work.
    int Descriptor() const { return event.Get(); }

    // For the loop: does all waiting work; what it throws goes to who sent it.
    void Run();

    // For the loop: work that waits, and all that comes later, is refused.
    void Close();

    // For any other thread: returns when the loop has done the work. Throws what the work throws, and PanelError 503
    // when the board ends, is overloaded, or does not come to it within the time.
    void Do(Work work, std::chrono::milliseconds longest = std::chrono::seconds(5));

private:
    struct Waiting {
        Work work;
        // What the work threw, or null. Moved through, so that only the thread that waits holds it in the end and
        // releases it: the C++ library does so in code that the thread sanitizer does not see.
        std::promise<std::exception_ptr> done;
    };

    FileDescriptor event;
    std::mutex mutex;
    std::deque<Waiting> waiting;
    bool closed = false;
};

} // namespace VelrixBoard
