// SPDX-License-Identifier: Apache-2.0
#include "board/preload/TimedPolls.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <pthread.h>

#include "board/preload/Kernel.h"
#include "board/preload/Next.h"
#include "board/preload/TimeWaits.h"
#include "board/preload/TimerFiles.h"

namespace VelrixBoard::Preload::TimedPolls {

namespace {

constinit Next<int(pollfd*, nfds_t, int)> nextPoll{"poll"};
constinit Next<int(pollfd*, nfds_t, const timespec*, const sigset_t*)> nextPpoll{"ppoll"};
constinit Next<int(int, fd_set*, fd_set*, fd_set*, timeval*)> nextSelect{"select"};
constinit Next<int(int, fd_set*, fd_set*, fd_set*, const timespec*, const sigset_t*)> nextPselect{"pselect"};
constinit Next<int(int, epoll_event*, int, int)> nextEpollWait{"epoll_wait"};
constinit Next<int(int, epoll_event*, int, int, const sigset_t*)> nextEpollPwait{"epoll_pwait"};
constinit Next<int(int, epoll_event*, int, const timespec*, const sigset_t*)> nextEpollPwait2{"epoll_pwait2"};

constexpr timespec NOW{};

// The limit of wake-ups that turn out to be another thread's.
constexpr int MOST_WAKES = 1'000'000'000;

// The page for a wait that may block. One that may not gets the expirations of timers that are due first.
TimePage* PageFor(bool mayBlock) {
    TimePage* const page = Time::Page();
    if (page != nullptr && !mayBlock)
        TimerFiles::Fire(*page);
    return mayBlock ? page : nullptr;
}

Time::Deadline InMilliseconds(TimePage& page, int timeoutMs) {
    return timeoutMs < 0 ? Time::Deadline{} : Time::After(page, timeoutMs * std::int64_t(1'000'000));
}

bool IsZero(const timespec* timeout) {
    return timeout != nullptr && timeout->tv_sec == 0 && timeout->tv_nsec == 0;
}

Time::Deadline In(TimePage& page, const timespec* timeout) {
    return timeout == nullptr ? Time::Deadline{} : Time::After(page, Time::ToNanoseconds(*timeout));
}

// select by poll: the descriptors of the sets.
constexpr int MOST_NUMBERS = 65536;
using Words = std::uint64_t[MOST_NUMBERS / 64];

struct Sets {
    Words reading, writing, exceptional;
    pollfd waits[MOST_NUMBERS];
};

std::size_t SizeOf(int count) {
    return (static_cast<std::size_t>(count) + 63) / 64 * sizeof(std::uint64_t);
}

fd_set* Copy(std::uint64_t* to, const fd_set* from, int count) {
    if (from == nullptr)
        return nullptr;
    std::memcpy(to, from, SizeOf(count));
    return reinterpret_cast<fd_set*>(to);
}

void CopyBack(fd_set* to, const std::uint64_t* from, int count) {
    if (to != nullptr)
        std::memcpy(to, from, SizeOf(count));
}

nfds_t Collect(Sets& sets, int count, bool hasReading, bool hasWriting, bool hasExceptional) {
    const auto has = [](bool isThere, const Words& words, int number) {
        return isThere && (words[number / 64] >> (number % 64) & 1) != 0;
    };
    nfds_t waits = 0;
    for (int i = 0; i < count; ++i) {
        const int events = (has(hasReading, sets.reading, i) ? POLLIN | POLLRDNORM | POLLRDBAND : 0) |
                           (has(hasWriting, sets.writing, i) ? POLLOUT | POLLWRNORM | POLLWRBAND : 0) |
                           (has(hasExceptional, sets.exceptional, i) ? POLLPRI : 0);
        if (events != 0)
            sets.waits[waits++] = {i, static_cast<short>(events), 0};
    }
    return waits;
}

// What poll finds ready and select does not: a descriptor that hung up, in no set that this concerns. Would end each
// wait at once.
nfds_t WithoutHungUp(Sets& sets, nfds_t waits) {
    const auto isHungUp = [](const pollfd& wait) {
        const int counts = wait.events | ((wait.events & POLLIN) != 0 ? POLLHUP | POLLERR : 0) |
                           ((wait.events & POLLOUT) != 0 ? POLLERR : 0) | POLLNVAL;
        return wait.revents != 0 && (wait.revents & counts) == 0;
    };
    return static_cast<nfds_t>(std::remove_if(sets.waits, sets.waits + waits, isHungUp) - sets.waits);
}

void Release(void* memory) {
    static_cast<const Kernel::Memory*>(memory)->~Memory();
}

int SelectUntil(TimePage& page, int count, fd_set* reading, fd_set* writing, fd_set* exceptional,
                const Time::Deadline& deadline, const sigset_t* signals) {
    const Kernel::Memory memory(sizeof(Sets)); // of which the kernel gives only what is used
    if (!memory.IsThere()) {
        errno = ENOMEM;
        return -1;
    }
    Sets& sets = *memory.As<Sets>();
    Copy(sets.reading, reading, count);
    Copy(sets.writing, writing, count);
    Copy(sets.exceptional, exceptional, count);
    nfds_t waits = Collect(sets, count, reading != nullptr, writing != nullptr, exceptional != nullptr);
    int result = 0;
    pthread_cleanup_push(Release, const_cast<Kernel::Memory*>(&memory));
    for (int i = 0; i < MOST_WAKES; ++i) {
        TimerFiles::Fire(page);
        fd_set* const r = Copy(sets.reading, reading, count);
        fd_set* const w = Copy(sets.writing, writing, count);
        fd_set* const e = Copy(sets.exceptional, exceptional, count);
        result = nextPselect(count, r, w, e, &NOW, signals);
        if (result != 0 || Time::IsDue(page, deadline))
            break;
        waits = WithoutHungUp(sets, waits);
        result = Time::Poll(page, TimedCall::SELECT, sets.waits, waits, deadline, signals);
        if (result < 0)
            break;
    }
    pthread_cleanup_pop(0);
    if (result >= 0) {
        CopyBack(reading, sets.reading, count);
        CopyBack(writing, sets.writing, count);
        CopyBack(exceptional, sets.exceptional, count);
    }
    return result;
}

int EpollUntil(TimePage& page, int queue, epoll_event* events, int count, const Time::Deadline& deadline,
               const sigset_t* signals) {
    for (int i = 0; i < MOST_WAKES; ++i) {
        TimerFiles::Fire(page);
        const int result = nextEpollPwait(queue, events, count, 0, signals);
        if (result != 0 || Time::IsDue(page, deadline))
            return result;
        pollfd wait{queue, POLLIN, 0};
        if (Time::Poll(page, TimedCall::EPOLL, &wait, 1, deadline, signals) < 0)
            return -1;
    }
    return 0;
}

} // namespace

int Poll(pollfd* waits, nfds_t count, int timeoutMs) {
    TimePage* const page = PageFor(timeoutMs != 0);
    return page == nullptr
               ? nextPoll(waits, count, timeoutMs)
               : Time::Poll(*page, TimedCall::POLL, waits, count, InMilliseconds(*page, timeoutMs), nullptr);
}

int Ppoll(pollfd* waits, nfds_t count, const timespec* timeout, const sigset_t* signals) {
    TimePage* const page = PageFor(!IsZero(timeout));
    return page == nullptr || (timeout != nullptr && !Time::IsValid(*timeout))
               ? nextPpoll(waits, count, timeout, signals)
               : Time::Poll(*page, TimedCall::POLL, waits, count, In(*page, timeout), signals);
}

int Select(int count, fd_set* reading, fd_set* writing, fd_set* exceptional, timeval* timeout) {
    TimePage* const page = PageFor(timeout == nullptr || timeout->tv_sec != 0 || timeout->tv_usec != 0);
    if (page == nullptr || count < 0 || count > MOST_NUMBERS ||
        (timeout != nullptr && (timeout->tv_sec < 0 || timeout->tv_usec < 0)))
        return nextSelect(count, reading, writing, exceptional, timeout);
    const Time::Deadline deadline =
        timeout == nullptr ? Time::Deadline{} : Time::After(*page, Time::ToNanoseconds(*timeout));
    const int result = SelectUntil(*page, count, reading, writing, exceptional, deadline, nullptr);
    if (timeout != nullptr) {
        const timespec left = Time::ToTimespec(Time::Left(*page, deadline));
        *timeout = {left.tv_sec, left.tv_nsec / 1000};
    }
    return result;
}

int Pselect(int count, fd_set* reading, fd_set* writing, fd_set* exceptional, const timespec* timeout,
            const sigset_t* signals) {
    TimePage* const page = PageFor(!IsZero(timeout));
    if (page == nullptr || count < 0 || count > MOST_NUMBERS || (timeout != nullptr && !Time::IsValid(*timeout)))
        return nextPselect(count, reading, writing, exceptional, timeout, signals);
    return SelectUntil(*page, count, reading, writing, exceptional, In(*page, timeout), signals);
}

int EpollWait(int queue, epoll_event* events, int count, int timeoutMs) {
    TimePage* const page = PageFor(timeoutMs != 0);
    return page == nullptr ? nextEpollWait(queue, events, count, timeoutMs)
                           : EpollUntil(*page, queue, events, count, InMilliseconds(*page, timeoutMs), nullptr);
}

int EpollPwait(int queue, epoll_event* events, int count, int timeoutMs, const sigset_t* signals) {
    TimePage* const page = PageFor(timeoutMs != 0);
    return page == nullptr ? nextEpollPwait(queue, events, count, timeoutMs, signals)
                           : EpollUntil(*page, queue, events, count, InMilliseconds(*page, timeoutMs), signals);
}

int EpollPwait2(int queue, epoll_event* events, int count, const timespec* timeout, const sigset_t* signals) {
    TimePage* const page = PageFor(!IsZero(timeout));
    return page == nullptr || (timeout != nullptr && !Time::IsValid(*timeout))
               ? nextEpollPwait2(queue, events, count, timeout, signals)
               : EpollUntil(*page, queue, events, count, In(*page, timeout), signals);
}

} // namespace VelrixBoard::Preload::TimedPolls
