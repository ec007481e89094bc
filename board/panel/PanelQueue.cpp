// SPDX-License-Identifier: Apache-2.0
#include "board/panel/PanelQueue.h"

#include <cstdint>

#include <sys/eventfd.h>
#include <unistd.h>

#include "board/virtual/BoardError.h"

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
        try {
            item.work();
            item.done.set_value();
        } catch (...) {
            item.done.set_exception(std::current_exception());
        }
    }
}

void PanelQueue::Close() {
    const std::lock_guard lock(mutex);
    closed = true;
    for (Waiting& item : waiting)
        item.done.set_exception(std::make_exception_ptr(PanelError(UNAVAILABLE, "the board has ended")));
    waiting.clear();
}

void PanelQueue::Do(Work work, std::chrono::milliseconds longest) {
    std::future<void> done;
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
    done.get();
}

} // namespace VelrixBoard
