// SPDX-License-Identifier: Apache-2.0
#include "board/panel/PanelQueue.h"

#include <cstdint>

#include <sys/eventfd.h>
#include <unistd.h>

#include "board/base/BoardError.h"

namespace VelrixBoard {

namespace {

constexpr int UNAVAILABLE = 503;

} // namespace

PanelQueue::PanelQueue() : event(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (!event)
        ThrowSystemError("cannot make the panel's queue");
}

void PanelQueue::Run() {
    std::uint64_t count = 0;
    (void)!::read(event.Get(), &count, sizeof count);
    std::deque<Waiting> taken;
    {
        const std::lock_guard lock(mutex);
        taken.swap(waiting);
    }
    for (Waiting& item : taken) {
        std::exception_ptr thrown;
        try {
            item.work();
        } catch (...) {
            thrown = std::current_exception();
        }
        item.done.set_value(std::move(thrown));
    }
}

void PanelQueue::Close() {
    const std::lock_guard lock(mutex);
    closed = true;
    for (Waiting& item : waiting)
        item.done.set_value(std::make_exception_ptr(PanelError(UNAVAILABLE, "the board has ended")));
    waiting.clear();
}

void PanelQueue::Do(Work work, std::chrono::milliseconds longest) {
    std::future<std::exception_ptr> done;
    {
        const std::lock_guard lock(mutex);
        if (closed)
            throw PanelError(UNAVAILABLE, "the board has ended");
        if (waiting.size() >= LONGEST)
            throw PanelError(UNAVAILABLE, "too many requests at once; try again");
        waiting.push_back({std::move(work), {}});
        done = waiting.back().done.get_future();
    }
    const std::uint64_t one = 1;
    (void)!::write(event.Get(), &one, sizeof one);
    if (done.wait_for(longest) != std::future_status::ready)
        throw PanelError(UNAVAILABLE, "the board is busy; the change will be made when it is not");
    if (const std::exception_ptr thrown = done.get())
        std::rethrow_exception(thrown);
}

} // namespace VelrixBoard
