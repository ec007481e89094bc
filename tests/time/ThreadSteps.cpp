// SPDX-License-Identifier: Apache-2.0
// Steps that wait for other threads.
#include <array>
#include <atomic>
#include <condition_variable>
#include <cstdio>
#include <future>
#include <mutex>
#include <semaphore>
#include <shared_mutex>

#include <fcntl.h>
#include <mqueue.h>
#include <pthread.h>
#include <semaphore.h>
#include <unistd.h>

#include "tests/time/Steps.h"

namespace VelrixBoard::Timed {

using std::chrono::milliseconds;
using std::chrono::seconds;

namespace {

int joined = 0; // its address is the result of a thread

std::string Condition() {
    std::mutex mutex;
    std::condition_variable condition;
    std::unique_lock lock(mutex);
    const bool first = condition.wait_for(lock, seconds(4)) == std::cv_status::timeout;
    bool isSet = false;
    std::thread other = After(seconds(6), [&] {
        const std::lock_guard inner(mutex);
        isSet = true;
        condition.notify_one();
    });
    const bool second = condition.wait_for(lock, seconds(60), [&] { return isSet; });
    lock.unlock();
    other.join();
    return std::to_string(first) + std::to_string(second);
}
std::string WallCondition() {
    pthread_mutex_t mutex{}; // all zeros, like PTHREAD_MUTEX_INITIALIZER
    pthread_cond_t condition{};
    const timespec until = In(CLOCK_REALTIME, 10);
    ::pthread_mutex_lock(&mutex);
    const std::string result = OfError(::pthread_cond_timedwait(&condition, &mutex, &until));
    return result + OfError(::pthread_mutex_unlock(&mutex));
}
std::string MonotonicCondition() {
    pthread_condattr_t attributes;
    ::pthread_condattr_init(&attributes);
    ::pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
    pthread_mutex_t mutex{}; // all zeros, like PTHREAD_MUTEX_INITIALIZER
    pthread_cond_t condition;
    ::pthread_cond_init(&condition, &attributes);
    const timespec until = In(CLOCK_MONOTONIC, 10);
    ::pthread_mutex_lock(&mutex);
    return OfError(::pthread_cond_timedwait(&condition, &mutex, &until));
}
// Threads of both kinds of waits at the same variable.
std::string Broadcast() {
    std::mutex mutex;
    std::condition_variable condition;
    bool isSet = false;
    std::atomic<int> done{0};
    std::array<std::thread, 6> threads;
    for (std::size_t i = 0; i < threads.size(); ++i)
        threads[i] = std::thread([&, i] {
            std::unique_lock lock(mutex);
            if (i % 2 == 0)
                condition.wait(lock, [&] { return isSet; });
            else
                condition.wait_for(lock, seconds(60), [&] { return isSet; });
            ++done;
        });
    std::this_thread::sleep_for(seconds(10));
    {
        const std::lock_guard lock(mutex);
        isSet = true;
    }
    condition.notify_all();
    for (std::thread& thread : threads)
        thread.join();
    return std::to_string(done.load());
}
// Two threads that hand work to each other, 1,000 times 10 ms.
std::string HandOver() {
    std::mutex mutex;
    std::condition_variable condition;
    int turn = 0;
    const auto play = [&](int own) {
        for (int i = 0; i < 500; ++i) {
            std::unique_lock lock(mutex);
            condition.wait_for(lock, seconds(60), [&] { return turn % 2 == own; });
            lock.unlock();
            std::this_thread::sleep_for(milliseconds(10));
            lock.lock();
            ++turn;
            condition.notify_all();
        }
    };
    std::thread other(play, 1);
    play(0);
    other.join();
    return std::to_string(turn);
}

std::string TimedMutex() {
    std::timed_mutex mutex;
    mutex.lock();
    bool first = true, second = false;
    std::thread other([&] {
        first = mutex.try_lock_for(seconds(4));
        second = mutex.try_lock_for(seconds(60));
        mutex.unlock();
    });
    std::this_thread::sleep_for(seconds(10));
    mutex.unlock();
    other.join();
    return std::to_string(first) + std::to_string(second);
}
std::string SharedMutex() {
    std::shared_timed_mutex mutex;
    mutex.lock();
    bool first = true, second = false;
    std::thread other([&] {
        first = mutex.try_lock_shared_for(seconds(4));
        second = mutex.try_lock_for(seconds(60));
        mutex.unlock();
    });
    std::this_thread::sleep_for(seconds(10));
    mutex.unlock();
    other.join();
    return std::to_string(first) + std::to_string(second);
}
// The C library's locks with a limit by the wall clock, which other threads hold.
std::string WallLocks() {
    pthread_mutex_t mutex{};
    pthread_rwlock_t lock{};
    ::pthread_mutex_init(&mutex, nullptr);
    ::pthread_rwlock_init(&lock, nullptr);
    ::pthread_mutex_lock(&mutex);
    ::pthread_rwlock_wrlock(&lock);
    std::string result;
    std::thread other([&] {
        const timespec first = In(CLOCK_REALTIME, 3), second = In(CLOCK_REALTIME, 6), third = In(CLOCK_REALTIME, 10);
        result = OfError(::pthread_mutex_timedlock(&mutex, &first));
        result += " " + OfError(::pthread_rwlock_timedrdlock(&lock, &second));
        result += " " + OfError(::pthread_rwlock_timedwrlock(&lock, &third));
    });
    other.join();
    ::pthread_rwlock_unlock(&lock);
    ::pthread_mutex_unlock(&mutex);
    return result;
}
std::string Semaphore() {
    sem_t semaphore;
    ::sem_init(&semaphore, 0, 0);
    const timespec until = In(CLOCK_REALTIME, 4);
    const std::string first = Of(::sem_timedwait(&semaphore, &until));
    std::thread other = After(seconds(6), [&] { ::sem_post(&semaphore); });
    const timespec later = In(CLOCK_MONOTONIC, 60);
    const std::string second = Of(::sem_clockwait(&semaphore, CLOCK_MONOTONIC, &later));
    other.join();
    return first + " " + second;
}
// Of the C++ library, which makes the system call for a futex itself.
std::string CountingSemaphore() {
    std::counting_semaphore<4> semaphore(0);
    const bool first = semaphore.try_acquire_for(seconds(4));
    std::thread other = After(seconds(6), [&] { semaphore.release(); });
    const bool second = semaphore.try_acquire_for(seconds(60));
    other.join();
    return std::to_string(first) + std::to_string(second);
}
std::string Future() {
    std::promise<int> promise;
    std::future<int> future = promise.get_future();
    const bool isEarly = future.wait_for(seconds(4)) == std::future_status::ready;
    std::thread other = After(seconds(6), [&] { promise.set_value(5); });
    const bool isReady = future.wait_for(seconds(60)) == std::future_status::ready;
    other.join();
    return std::to_string(isEarly) + std::to_string(isReady) + std::to_string(future.get());
}
std::string Queue() {
    const std::string name = "/velrix-timed-steps-" + std::to_string(::getpid());
    mq_attr attributes{};
    attributes.mq_maxmsg = 1;
    attributes.mq_msgsize = 8;
    const mqd_t queue = ::mq_open(name.c_str(), O_RDWR | O_CREAT | O_EXCL, 0600, &attributes);
    if (queue < 0)
        return "no queues";
    ::mq_unlink(name.c_str());
    std::array<char, 8> text{};
    const timespec until = In(CLOCK_REALTIME, 3), afterThat = In(CLOCK_REALTIME, 4);
    std::string first = Of(static_cast<int>(::mq_timedreceive(queue, text.data(), text.size(), nullptr, &until)));
    ::mq_send(queue, "full", 4, 0);
    first += " " + Of(::mq_timedsend(queue, "x", 1, 0, &afterThat));
    (void)::mq_receive(queue, text.data(), text.size(), nullptr);
    std::thread other = After(seconds(6), [=] { ::mq_send(queue, "abc", 3, 0); });
    const timespec later = In(CLOCK_REALTIME, 60);
    const std::string second =
        Of(static_cast<int>(::mq_timedreceive(queue, text.data(), text.size(), nullptr, &later)));
    other.join();
    return first + " " + second;
}
std::string JoinThread() {
    pthread_t other{};
    ::pthread_create(
        &other, nullptr, [](void*) -> void* { return ::sleep(10) == 0 ? static_cast<void*>(&joined) : nullptr; },
        nullptr);
    const timespec until = In(CLOCK_REALTIME, 4), later = In(CLOCK_MONOTONIC, 60);
    void* result = nullptr;
    const std::string first = OfError(::pthread_timedjoin_np(other, &result, &until));
    const std::string second = OfError(::pthread_clockjoin_np(other, &result, CLOCK_MONOTONIC, &later));
    return first + " " + second + std::to_string(result == static_cast<void*>(&joined));
}

pthread_mutex_t cancelMutex{}; // all zeros, like PTHREAD_MUTEX_INITIALIZER
pthread_cond_t cancelCondition{};
void Unlock(void* mutex) {
    ::pthread_mutex_unlock(static_cast<pthread_mutex_t*>(mutex));
}
void* WaitToBeCancelled(void*) {
    const timespec until = In(CLOCK_REALTIME, 1);
    ::pthread_mutex_lock(&cancelMutex);
    pthread_cleanup_push(Unlock, &cancelMutex);
    (void)::pthread_cond_timedwait(&cancelCondition, &cancelMutex, &until);
    pthread_cleanup_pop(1);
    return nullptr;
}
void* SleepToBeCancelled(void*) {
    ::sleep(60);
    return nullptr;
}
// Threads that are cancelled as they wait, the first one while another one holds its mutex beyond its limit.
std::string Cancelled() {
    pthread_t waiting{}, sleeping{};
    ::pthread_create(&waiting, nullptr, WaitToBeCancelled, nullptr);
    ::pthread_create(&sleeping, nullptr, SleepToBeCancelled, nullptr);
    ::usleep(500'000);
    ::pthread_mutex_lock(&cancelMutex);
    ::pthread_cancel(waiting);
    ::usleep(9'500'000);
    ::pthread_mutex_unlock(&cancelMutex);
    ::pthread_cancel(sleeping);
    void *first = nullptr, *second = nullptr;
    ::pthread_join(waiting, &first);
    ::pthread_join(sleeping, &second);
    return std::to_string(first == PTHREAD_CANCELED) + std::to_string(second == PTHREAD_CANCELED);
}
// The main thread ends, as some programs let it.
std::string MainEnds() {
    std::thread([begin = std::chrono::steady_clock::now()] {
        ::sleep(10);
        const auto took = std::chrono::steady_clock::now() - begin;
        std::printf("main-ends %lld 0\n", static_cast<long long>(took / milliseconds(1)));
        std::fflush(stdout);
        ::_exit(0);
    }).detach();
    ::pthread_exit(nullptr);
}
// Limits beyond all times, before all times, and none at all.
std::string OddLimits() {
    const timespec wrong{0, 1'000'000'000}, longAgo{-9'000'000'000'000'000'000, 0};
    const std::string refused = Of(::nanosleep(&wrong, nullptr));
    std::condition_variable condition;
    std::mutex inner;
    sem_t semaphore;
    ::sem_init(&semaphore, 0, 0);
    const std::string late = Of(::sem_timedwait(&semaphore, &longAgo));
    std::unique_lock lock(inner);
    bool isSet = false;
    std::thread other = After(seconds(10), [&] {
        const std::lock_guard held(inner);
        isSet = true;
        condition.notify_one();
    });
    const bool waited = condition.wait_until(lock, std::chrono::steady_clock::time_point::max(), [&] { return isSet; });
    lock.unlock();
    other.join();
    return refused + " " + late + " " + std::to_string(waited);
}

} // namespace

std::vector<Step> ThreadSteps() {
    return {{"condition", Condition},
            {"wall-condition", WallCondition},
            {"monotonic-condition", MonotonicCondition},
            {"broadcast", Broadcast},
            {"hand-over", HandOver},
            {"timed-mutex", TimedMutex},
            {"shared-mutex", SharedMutex},
            {"wall-locks", WallLocks},
            {"semaphore", Semaphore},
            {"counting-semaphore", CountingSemaphore},
            {"future", Future},
            {"queue", Queue},
            {"join-thread", JoinThread},
            {"cancelled", Cancelled},
            {"main-ends", MainEnds},
            {"odd-limits", OddLimits}};
}

} // namespace VelrixBoard::Timed
