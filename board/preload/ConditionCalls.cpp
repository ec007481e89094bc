// SPDX-License-Identifier: Apache-2.0
// Hooks for condition variables. A thread that waits with a limit sleeps in the board's page; a signal wakes one of
// those and, as spurious wake-ups are allowed, one of the C library's waiters as well.
#include <algorithm>
#include <atomic>
#include <cerrno>

#include <pthread.h>

#include "board/preload/Kernel.h"
#include "board/preload/Next.h"
#include "board/preload/Preloaded.h"
#include "board/preload/TimeWaits.h"

namespace VelrixBoard::Preload {

namespace {

using Time::Deadline;

constinit Next<int(pthread_cond_t*, pthread_mutex_t*, const timespec*)> nextTimedWait{"pthread_cond_timedwait"};
constinit Next<int(pthread_cond_t*, pthread_mutex_t*, clockid_t, const timespec*)> nextClockWait{
    "pthread_cond_clockwait"};
constinit Next<int(pthread_cond_t*)> nextSignal{"pthread_cond_signal"};
constinit Next<int(pthread_cond_t*)> nextBroadcast{"pthread_cond_broadcast"};
constinit Next<int(pthread_mutex_t*)> nextLock{"pthread_mutex_lock"};
constinit Next<int(pthread_mutex_t*)> nextUnlock{"pthread_mutex_unlock"};

// How many threads of this process wait; 0 spares a signal the search.
constinit std::atomic<int> waiters{0};

// The flags of the C library's condition variables (glibc since 2.25, the GLIBC_2.3.2 interface).
constexpr unsigned SHARED_FLAG = 1;
constexpr unsigned MONOTONIC_FLAG = 2;

bool IsShared(const pthread_cond_t& condition) {
    return (condition.__data.__wrefs & SHARED_FLAG) != 0;
}

std::uint64_t AddressOf(const pthread_cond_t* condition) {
    return reinterpret_cast<std::uintptr_t>(condition);
}

struct Cancelled {
    Time::Wait& wait;
    pthread_cond_t* condition;
    pthread_mutex_t* mutex;
};

// A cancelled thread has the mutex again, and a signal that came for it goes to another one.
void LockAgain(void* cancelled) {
    const Cancelled& own = *static_cast<Cancelled*>(cancelled);
    waiters.fetch_sub(1);
    if ((own.wait.End() & WaitWord::SIGNALLED) != 0)
        (void)::pthread_cond_signal(own.condition);
    (void)nextLock(own.mutex);
}

void SleepUnlocked(TimePage& page, Time::Wait& wait, pthread_cond_t* condition, pthread_mutex_t* mutex,
                   const Deadline& deadline) {
    Cancelled cancelled{wait, condition, mutex};
    pthread_cleanup_push(LockAgain, &cancelled);
    constexpr int MOST_SIGNALS = 1'000'000;
    for (int i = 0; i < MOST_SIGNALS && !Time::IsDue(page, deadline) && !wait.Sleep(true); ++i) {
    }
    pthread_cleanup_pop(0);
}

int Wait(TimePage& page, ThreadEntry& entry, pthread_cond_t* condition, pthread_mutex_t* mutex,
         const Deadline& deadline) {
    int result = 0;
    {
        Time::Wait wait(page, entry, {WaitKind::FUTEX, TimedCall::CONDITION, deadline, AddressOf(condition)});
        waiters.fetch_add(1);
        const int error = nextUnlock(mutex);
        if (error != 0) {
            waiters.fetch_sub(1);
            return error;
        }
        SleepUnlocked(page, wait, condition, mutex, deadline);
        waiters.fetch_sub(1);
        const std::uint32_t flags = wait.End();
        if ((flags & (WaitWord::SIGNALLED | WaitWord::REPLACED)) == 0 && Time::IsDue(page, deadline))
            result = ETIMEDOUT;
    }
    const int error = nextLock(mutex);
    return error != 0 ? error : result;
}

// Wakes the thread that has waited longest. False when there is none.
bool WakeOne(TimePage& page, std::int32_t process, std::uint64_t condition) {
    const std::uint32_t used = std::min(page.usedEntries.load(), TimePage::ENTRIES);
    // Each turn that wakes nobody has lost a race against another one that did.
    for (std::uint32_t attempt = 0; attempt < TimePage::ENTRIES; ++attempt) {
        ThreadEntry* first = nullptr;
        std::uint64_t ticket = 0;
        for (std::uint32_t i = 0; i < used; ++i) {
            ThreadEntry& entry = page.entries[i];
            const std::uint64_t own = entry.ticket.load();
            if (entry.kind.load() != WaitKind::FUTEX || entry.condition.load() != condition ||
                entry.process.load() != process || (first != nullptr && own > ticket) ||
                (entry.word.load() & ~WaitWord::WOKEN) != WaitWord::Armed(own))
                continue;
            first = &entry;
            ticket = own;
        }
        if (first == nullptr)
            return false;
        std::uint32_t word = WaitWord::Armed(ticket);
        if (first->word.compare_exchange_strong(word, word | WaitWord::SIGNALLED) ||
            (word == (WaitWord::Armed(ticket) | WaitWord::WOKEN) &&
             first->word.compare_exchange_strong(word, word | WaitWord::SIGNALLED))) {
            Kernel::FutexWake(first->word);
            return true;
        }
    }
    return false;
}

void Wake(const pthread_cond_t* condition, bool all) {
    TimePage* const page = waiters.load() != 0 ? Time::Page() : nullptr;
    ThreadEntry* const own = page != nullptr ? Time::OwnEntry(*page) : nullptr;
    if (own == nullptr)
        return;
    const std::int32_t process = own->process.load();
    for (std::uint32_t i = 0; i < TimePage::ENTRIES && WakeOne(*page, process, AddressOf(condition)) && all; ++i) {
    }
}

} // namespace

} // namespace VelrixBoard::Preload

using namespace VelrixBoard::Preload;

VELRIX_PRELOADED(int, pthread_cond_clockwait, pthread_cond_t* condition, pthread_mutex_t* mutex, clockid_t clock,
                 const timespec* until) {
    const Time::ClockKind kind = Time::KindOf(clock);
    TimePage* const page = kind != Time::ClockKind::OTHER && !IsShared(*condition) ? Time::Page() : nullptr;
    ThreadEntry* const entry = page != nullptr ? Time::OwnEntry(*page) : nullptr;
    if (entry == nullptr)
        return nextClockWait(condition, mutex, clock, until);
    if (until->tv_nsec < 0 || until->tv_nsec >= Time::NANOSECONDS)
        return EINVAL;
    return Wait(*page, *entry, condition, mutex, {Time::ToNanoseconds(*until), kind == Time::ClockKind::WALL});
}

VELRIX_PRELOADED(int, pthread_cond_timedwait, pthread_cond_t* condition, pthread_mutex_t* mutex,
                 const timespec* until) {
    if (IsShared(*condition) || Time::Page() == nullptr)
        return nextTimedWait(condition, mutex, until);
    const bool isMonotonic = (condition->__data.__wrefs & MONOTONIC_FLAG) != 0;
    return velrix_pthread_cond_clockwait(condition, mutex, isMonotonic ? CLOCK_MONOTONIC : CLOCK_REALTIME, until);
}

VELRIX_PRELOADED(int, pthread_cond_signal, pthread_cond_t* condition) {
    Wake(condition, false);
    return nextSignal(condition);
}

VELRIX_PRELOADED(int, pthread_cond_broadcast, pthread_cond_t* condition) {
    Wake(condition, true);
    return nextBroadcast(condition);
}
