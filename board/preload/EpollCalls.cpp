// SPDX-License-Identifier: Apache-2.0
// Hooks for epoll. The kernel polls the sockets behind value files: EPOLLIN for an event, and EPOLLOUT, which is always
// ready, if the program asked for reading or writing. A table of registrations translates the kernel's events; the
// kernel gets the index in place of the program's data.
#include <atomic>
#include <cstdint>

#include <sys/epoll.h>

#include "board/preload/Descriptors.h"
#include "board/preload/Names.h"
#include "board/preload/Next.h"
#include "board/preload/Path.h"
#include "board/preload/Preloaded.h"
#include "board/preload/TimedPolls.h"

namespace VelrixBoard::Preload {

namespace {

constinit Next<int(int, int, int, epoll_event*)> nextEpollControl{"epoll_ctl"};

constexpr std::uint32_t ALWAYS = EPOLLIN | EPOLLOUT | EPOLLRDNORM | EPOLLWRNORM;
constexpr std::uint32_t WAYS = EPOLLET | EPOLLONESHOT | EPOLLWAKEUP | EPOLLEXCLUSIVE;

enum State : std::uint32_t { FREE, BEING_FILLED, USED };

struct Registration {
    std::atomic<std::uint32_t> state;
    std::atomic<std::uint32_t> asked;
    std::atomic<std::uint64_t> data;
    std::atomic<std::uint64_t> open; // of the value file
    std::atomic<int> queue;
    std::atomic<int> descriptor;
};

constexpr std::uint32_t REGISTRATIONS = 1024;
constinit Registration registrations[REGISTRATIONS] = {};

// A tag in the upper half of the kernel's data. A program's data are usually small numbers or addresses, whose upper
// bits are zero.
constexpr std::uint64_t MARK = 0x9E58'45B1ull << 32;

// A stale registration: its descriptor is another file, or closed.
bool IsStale(const Registration& registration) {
    ValueFile file;
    return !Descriptors::Find(registration.descriptor.load(), file) || file.open != registration.open.load();
}

Registration* Find(int queue, int descriptor) {
    for (Registration& registration : registrations)
        if (registration.state.load(std::memory_order_acquire) == USED && registration.queue.load() == queue &&
            registration.descriptor.load() == descriptor)
            return &registration;
    return nullptr;
}

Registration* Take(std::uint32_t wanted) {
    for (Registration& registration : registrations) {
        std::uint32_t state = wanted;
        if (registration.state.load() == wanted && (wanted == FREE || IsStale(registration)) &&
            registration.state.compare_exchange_strong(state, BEING_FILLED))
            return &registration;
    }
    return nullptr;
}

int Change(int queue, int operation, int descriptor, Registration& registration, const epoll_event& event) {
    epoll_event marked{};
    marked.events = (event.events & WAYS) | EPOLLIN;
    if ((event.events & ALWAYS) != 0)
        marked.events |= EPOLLOUT;
    marked.data.u64 = MARK | static_cast<std::uint64_t>(&registration - registrations);
    return nextEpollControl(queue, operation, descriptor, &marked);
}

void Fill(Registration& registration, const epoll_event& event) {
    registration.asked.store(event.events);
    registration.data.store(event.data.u64);
    registration.state.store(USED, std::memory_order_release);
}

int Add(int queue, int descriptor, const ValueFile& file, const epoll_event& event) {
    Registration* registration = Take(FREE);
    if (registration == nullptr)
        registration = Take(USED);
    if (registration == nullptr)
        return Fail(ENOSPC);
    registration->queue.store(queue);
    registration->descriptor.store(descriptor);
    registration->open.store(file.open);
    // Before EPOLL_CTL_ADD: another thread may be waiting already.
    Fill(*registration, event);
    const int result = Change(queue, EPOLL_CTL_ADD, descriptor, *registration, event);
    if (result != 0)
        registration->state.store(FREE);
    return result;
}

int Control(int queue, int operation, int descriptor, const ValueFile& file, const epoll_event* event) {
    Registration* const registration = Find(queue, descriptor);
    if (operation == EPOLL_CTL_ADD && event != nullptr) {
        // The descriptor was closed, and the number reused.
        if (registration != nullptr && registration->open.load() != file.open)
            registration->state.store(FREE);
        return Add(queue, descriptor, file, *event);
    }
    if (operation == EPOLL_CTL_MOD && event != nullptr && registration != nullptr) {
        const int result = Change(queue, operation, descriptor, *registration, *event);
        if (result == 0)
            Fill(*registration, *event);
        return result;
    }
    const int result = nextEpollControl(queue, operation, descriptor, const_cast<epoll_event*>(event));
    if (result == 0 && registration != nullptr)
        registration->state.store(FREE);
    return result;
}

// Restores the program's data and translates the events to those of value files.
int Translate(epoll_event* events, int count) {
    for (int i = 0; i < count; ++i) {
        const std::uint64_t index = events[i].data.u64 ^ MARK;
        if (index >= REGISTRATIONS || registrations[index].state.load(std::memory_order_acquire) != USED)
            continue;
        const std::uint32_t asked = registrations[index].asked.load();
        const bool hasEvent = (events[i].events & (EPOLLIN | EPOLLHUP)) != 0;
        events[i].events = (asked & ALWAYS) | (hasEvent ? (asked & EPOLLPRI) | EPOLLERR : 0);
        events[i].data.u64 = registrations[index].data.load();
    }
    return count;
}

} // namespace

} // namespace VelrixBoard::Preload

using namespace VelrixBoard::Preload;

VELRIX_PRELOADED(int, epoll_ctl, int queue, int operation, int descriptor, epoll_event* event) {
    ValueFile file;
    return Names::Current() != nullptr && Descriptors::Find(descriptor, file)
               ? Control(queue, operation, descriptor, file, event)
               : nextEpollControl(queue, operation, descriptor, event);
}

VELRIX_PRELOADED(int, epoll_wait, int queue, epoll_event* events, int size, int timeoutMs) {
    return Translate(events, TimedPolls::EpollWait(queue, events, size, timeoutMs));
}

VELRIX_PRELOADED(int, epoll_pwait, int queue, epoll_event* events, int size, int timeoutMs, const sigset_t* signals) {
    return Translate(events, TimedPolls::EpollPwait(queue, events, size, timeoutMs, signals));
}

VELRIX_PRELOADED(int, epoll_pwait2, int queue, epoll_event* events, int size, const timespec* timeout,
                 const sigset_t* signals) {
    return Translate(events, TimedPolls::EpollPwait2(queue, events, size, timeout, signals));
}
