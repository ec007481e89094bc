// SPDX-License-Identifier: Apache-2.0
// Steps that sleep.
#include <condition_variable>
#include <ctime>
#include <mutex>

#include <pthread.h>
#include <sys/time.h>
#include <unistd.h>

#include "tests/time/Steps.h"

namespace VelrixBoard::Timed {

using std::chrono::seconds;

namespace {

volatile std::sig_atomic_t signals = 0;
void Count(int) {
    signals = signals + 1;
}
void Handle(int signal, int flags) {
    struct sigaction action {};
    action.sa_handler = Count;
    action.sa_flags = flags;
    ::sigaction(signal, &action, nullptr);
    signals = 0;
}

std::string Sleep() {
    return std::to_string(::sleep(10));
}
std::string Usleep() {
    return Of(::usleep(10'000'000));
}
std::string Nanosleep() {
    const timespec time{10, 0};
    return Of(::nanosleep(&time, nullptr));
}
std::string SleepUntil() {
    const timespec monotonic = In(CLOCK_MONOTONIC, 4), wall = In(CLOCK_REALTIME, 10);
    return OfError(::clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &monotonic, nullptr)) +
           OfError(::clock_nanosleep(CLOCK_REALTIME, TIMER_ABSTIME, &wall, nullptr));
}
std::string ThisThread() {
    std::this_thread::sleep_for(seconds(4));
    std::this_thread::sleep_until(std::chrono::system_clock::now() + seconds(6));
    return "slept";
}

// All clocks go on by the same time.
std::string Clocks() {
    timeval before{}, after{}, last{};
    ::gettimeofday(&before, nullptr);
    ::sleep(10);
    ::gettimeofday(&after, nullptr);
    timespec then{};
    ::timespec_get(&then, TIME_UTC);
    const std::time_t now = ::time(nullptr);
    ::gettimeofday(&last, nullptr);
    const bool areInOrder = after.tv_sec <= then.tv_sec && then.tv_sec <= now && now <= last.tv_sec;
    const long microseconds = (after.tv_sec - before.tv_sec) * 1'000'000 + after.tv_usec - before.tv_usec;
    return std::to_string((microseconds + 500'000) / 1'000'000) + (areInOrder ? " in order" : " not in order");
}

// A signal handler ends a sleep, whatever SA_RESTART says.
std::string InterruptedSleep() {
    Handle(SIGUSR1, SA_RESTART);
    const pthread_t self = ::pthread_self();
    std::thread other = After(seconds(10), [=] { ::pthread_kill(self, SIGUSR1); });
    const timespec time{60, 0};
    timespec left{};
    const std::string result = Of(::nanosleep(&time, &left));
    other.join();
    return result + " " + std::to_string((left.tv_sec * 1000 + left.tv_nsec / 1'000'000 + 500) / 1000);
}

// A signal handler that waits itself does not disturb the wait that it interrupts.
std::string NestedSleep() {
    struct sigaction action {};
    action.sa_handler = [](int) { ::usleep(5'000'000); };
    ::sigaction(SIGUSR1, &action, nullptr);
    const pthread_t self = ::pthread_self();
    std::thread other = After(seconds(2), [=] { ::pthread_kill(self, SIGUSR1); });
    std::mutex mutex;
    std::condition_variable condition;
    std::unique_lock lock(mutex);
    const bool isDone = condition.wait_for(lock, seconds(10), [] { return false; });
    other.join();
    return std::to_string(isDone);
}

} // namespace

std::vector<Step> SleepSteps() {
    return {{"sleep", Sleep},
            {"clocks", Clocks},
            {"usleep", Usleep},
            {"nanosleep", Nanosleep},
            {"sleep-until", SleepUntil},
            {"this-thread", ThisThread},
            {"interrupted-sleep", InterruptedSleep},
            {"nested-sleep", NestedSleep}};
}

} // namespace VelrixBoard::Timed
