// SPDX-License-Identifier: Apache-2.0
#include <System/Threading/Thread.h>

#include <csignal>
#include <ctime>
#include <thread>

#include <pthread.h>

#include <gtest/gtest.h>

#include <System/Threading/Mutex.h>

using System::Threading::Mutex;
using System::Threading::Thread;

namespace {

long long Microseconds() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * 1'000'000LL + now.tv_nsec / 1'000;
}

volatile std::sig_atomic_t signals = 0;

} // namespace

TEST(Thread, SleepsAtLeastAsLongAsItWasTold) {
    for (const unsigned long long length : {0ULL, 1ULL, 1'000ULL, 20'000ULL}) {
        const long long before = Microseconds();
        Thread::USleep(length);
        EXPECT_GE(Microseconds() - before, static_cast<long long>(length));
    }
}

TEST(Thread, SleepsOnAfterASignal) {
    struct sigaction action {};
    struct sigaction old {};
    action.sa_handler = [](int) { signals = signals + 1; };
    sigaction(SIGUSR1, &action, &old);
    const pthread_t sleeper = pthread_self();
    signals = 0;

    const long long before = Microseconds();
    std::thread waker([&] {
        for (int i = 0; i < 5; ++i) {
            Thread::USleep(2'000);
            pthread_kill(sleeper, SIGUSR1);
        }
    });
    Thread::USleep(50'000);
    const long long length = Microseconds() - before;
    waker.join();
    sigaction(SIGUSR1, &old, nullptr);

    EXPECT_GE(length, 50'000);
    EXPECT_GT(signals, 0);
}

TEST(Mutex, LetsOneThreadInAtATime) {
    static Mutex mutex;
    int inside = 0, most = 0, count = 0;
    const auto work = [&] {
        for (int i = 0; i < 1'000; ++i) {
            mutex.Acquire();
            most = std::max(most, ++inside);
            ++count;
            --inside;
            mutex.Release();
        }
    };

    std::thread first(work), second(work);
    first.join();
    second.join();

    EXPECT_EQ(most, 1);
    EXPECT_EQ(count, 2'000);
}
