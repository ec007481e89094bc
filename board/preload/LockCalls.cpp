// SPDX-License-Identifier: Apache-2.0
// Hooks for locks, semaphores, queues and ends of threads that a thread waits for with a limit: it tries again each
// time the board finds that another thread may have given it what it waits for.
#include <cerrno>

#include <mqueue.h>
#include <pthread.h>
#include <semaphore.h>

#include "board/preload/Next.h"
#include "board/preload/Preloaded.h"
#include "board/preload/TimeWaits.h"

namespace VelrixBoard::Preload {

namespace {

using Time::Deadline;

constinit Next<int(pthread_mutex_t*, const timespec*)> nextMutexTimedLock{"pthread_mutex_timedlock"};
constinit Next<int(pthread_mutex_t*, clockid_t, const timespec*)> nextMutexClockLock{"pthread_mutex_clocklock"};
constinit Next<int(pthread_mutex_t*)> nextMutexTryLock{"pthread_mutex_trylock"};
constinit Next<int(pthread_rwlock_t*, const timespec*)> nextTimedReadLock{"pthread_rwlock_timedrdlock"};
constinit Next<int(pthread_rwlock_t*, const timespec*)> nextTimedWriteLock{"pthread_rwlock_timedwrlock"};
constinit Next<int(pthread_rwlock_t*, clockid_t, const timespec*)> nextClockReadLock{"pthread_rwlock_clockrdlock"};
constinit Next<int(pthread_rwlock_t*, clockid_t, const timespec*)> nextClockWriteLock{"pthread_rwlock_clockwrlock"};
constinit Next<int(pthread_rwlock_t*)> nextTryReadLock{"pthread_rwlock_tryrdlock"};
constinit Next<int(pthread_rwlock_t*)> nextTryWriteLock{"pthread_rwlock_trywrlock"};
constinit Next<int(sem_t*, const timespec*)> nextSemaphoreTimedWait{"sem_timedwait"};
constinit Next<int(sem_t*, clockid_t, const timespec*)> nextSemaphoreClockWait{"sem_clockwait"};
constinit Next<int(sem_t*)> nextSemaphoreTryWait{"sem_trywait"};
constinit Next<int(pthread_t, void**, const timespec*)> nextTimedJoin{"pthread_timedjoin_np"};
constinit Next<int(pthread_t, void**, clockid_t, const timespec*)> nextClockJoin{"pthread_clockjoin_np"};
constinit Next<int(pthread_t, void**)> nextTryJoin{"pthread_tryjoin_np"};
constinit Next<ssize_t(mqd_t, char*, size_t, unsigned*, const timespec*)> nextQueueReceive{"mq_timedreceive"};
constinit Next<int(mqd_t, const char*, size_t, unsigned, const timespec*)> nextQueueSend{"mq_timedsend"};

bool IsValid(const timespec& until) {
    return until.tv_nsec >= 0 && until.tv_nsec < Time::NANOSECONDS;
}

// The page if the board serves a wait by that clock.
TimePage* PageFor(clockid_t clock, const timespec* until) {
    return Time::KindOf(clock) != Time::ClockKind::OTHER && until != nullptr && IsValid(*until) ? Time::Page()
                                                                                                : nullptr;
}

Deadline Until(clockid_t clock, const timespec& until) {
    return {Time::ToNanoseconds(until), Time::KindOf(clock) == Time::ClockKind::WALL};
}

// Locks report EBUSY.
template <class Try>
int LockUntil(TimePage& page, TimedCall call, const Deadline& deadline, Try tryOnce) {
    return Time::Retry(page, call, deadline, false, [&] {
        const int error = tryOnce();
        return error == EBUSY ? EAGAIN : error;
    });
}

// The error number of a call that sets errno; EAGAIN where it would wait. result gets the call's.
template <class Try, class Result>
int ErrorOf(Try tryOnce, Result& result) {
    result = tryOnce();
    return result < 0 ? errno : 0;
}

int Fail(int error) {
    errno = error;
    return -1;
}

// A limit that has passed: the queue does not wait.
constexpr timespec PAST{0, 0};

template <class Try>
auto UseQueueUntil(TimePage& page, const timespec& until, Try tryOnce) -> decltype(tryOnce(PAST)) {
    decltype(tryOnce(PAST)) result = -1;
    const int error = Time::Retry(page, TimedCall::QUEUE, Until(CLOCK_REALTIME, until), true, [&] {
        const int tried = ErrorOf([&] { return tryOnce(PAST); }, result);
        return tried == ETIMEDOUT ? EAGAIN : tried == EAGAIN ? -EAGAIN : tried;
    });
    return error == 0 ? result : Fail(error < 0 ? -error : error);
}

} // namespace

} // namespace VelrixBoard::Preload

using namespace VelrixBoard::Preload;

VELRIX_PRELOADED(int, pthread_mutex_clocklock, pthread_mutex_t* mutex, clockid_t clock, const timespec* until) {
    TimePage* const page = PageFor(clock, until);
    return page == nullptr
               ? nextMutexClockLock(mutex, clock, until)
               : LockUntil(*page, TimedCall::MUTEX, Until(clock, *until), [=] { return nextMutexTryLock(mutex); });
}
VELRIX_PRELOADED(int, pthread_mutex_timedlock, pthread_mutex_t* mutex, const timespec* until) {
    return PageFor(CLOCK_REALTIME, until) == nullptr ? nextMutexTimedLock(mutex, until)
                                                     : velrix_pthread_mutex_clocklock(mutex, CLOCK_REALTIME, until);
}

VELRIX_PRELOADED(int, pthread_rwlock_clockrdlock, pthread_rwlock_t* lock, clockid_t clock, const timespec* until) {
    TimePage* const page = PageFor(clock, until);
    return page == nullptr ? nextClockReadLock(lock, clock, until)
                           : LockUntil(*page, TimedCall::READ_WRITE_LOCK, Until(clock, *until),
                                       [=] { return nextTryReadLock(lock); });
}
VELRIX_PRELOADED(int, pthread_rwlock_timedrdlock, pthread_rwlock_t* lock, const timespec* until) {
    return PageFor(CLOCK_REALTIME, until) == nullptr ? nextTimedReadLock(lock, until)
                                                     : velrix_pthread_rwlock_clockrdlock(lock, CLOCK_REALTIME, until);
}

VELRIX_PRELOADED(int, pthread_rwlock_clockwrlock, pthread_rwlock_t* lock, clockid_t clock, const timespec* until) {
    TimePage* const page = PageFor(clock, until);
    return page == nullptr ? nextClockWriteLock(lock, clock, until)
                           : LockUntil(*page, TimedCall::READ_WRITE_LOCK, Until(clock, *until),
                                       [=] { return nextTryWriteLock(lock); });
}
VELRIX_PRELOADED(int, pthread_rwlock_timedwrlock, pthread_rwlock_t* lock, const timespec* until) {
    return PageFor(CLOCK_REALTIME, until) == nullptr ? nextTimedWriteLock(lock, until)
                                                     : velrix_pthread_rwlock_clockwrlock(lock, CLOCK_REALTIME, until);
}

VELRIX_PRELOADED(int, sem_clockwait, sem_t* semaphore, clockid_t clock, const timespec* until) {
    TimePage* const page = PageFor(clock, until);
    if (page == nullptr)
        return nextSemaphoreClockWait(semaphore, clock, until);
    int result = 0;
    const int before = errno;
    const int error = Time::Retry(*page, TimedCall::SEMAPHORE, Until(clock, *until), true,
                                  [&] { return ErrorOf([=] { return nextSemaphoreTryWait(semaphore); }, result); });
    errno = before;
    return error == 0 ? 0 : Fail(error);
}
VELRIX_PRELOADED(int, sem_timedwait, sem_t* semaphore, const timespec* until) {
    return PageFor(CLOCK_REALTIME, until) == nullptr ? nextSemaphoreTimedWait(semaphore, until)
                                                     : velrix_sem_clockwait(semaphore, CLOCK_REALTIME, until);
}

VELRIX_PRELOADED(int, pthread_clockjoin_np, pthread_t thread, void** result, clockid_t clock, const timespec* until) {
    TimePage* const page = PageFor(clock, until);
    return page == nullptr ? nextClockJoin(thread, result, clock, until)
                           : LockUntil(*page, TimedCall::THREAD_END, Until(clock, *until),
                                       [=] { return nextTryJoin(thread, result); });
}
VELRIX_PRELOADED(int, pthread_timedjoin_np, pthread_t thread, void** result, const timespec* until) {
    return PageFor(CLOCK_REALTIME, until) == nullptr
               ? nextTimedJoin(thread, result, until)
               : velrix_pthread_clockjoin_np(thread, result, CLOCK_REALTIME, until);
}

VELRIX_PRELOADED(ssize_t, mq_timedreceive, mqd_t queue, char* text, size_t size, unsigned* priority,
                 const timespec* until) {
    TimePage* const page = PageFor(CLOCK_REALTIME, until);
    return page == nullptr ? nextQueueReceive(queue, text, size, priority, until)
                           : UseQueueUntil(*page, *until, [=](const timespec& past) {
                                 return nextQueueReceive(queue, text, size, priority, &past);
                             });
}
VELRIX_PRELOADED(int, mq_timedsend, mqd_t queue, const char* text, size_t size, unsigned priority,
                 const timespec* until) {
    TimePage* const page = PageFor(CLOCK_REALTIME, until);
    return page == nullptr ? nextQueueSend(queue, text, size, priority, until)
                           : UseQueueUntil(*page, *until, [=](const timespec& past) {
                                 return nextQueueSend(queue, text, size, priority, &past);
                             });
}
