// SPDX-License-Identifier: Apache-2.0
// Hooks for sleeps.
#include <cerrno>
#include <ctime>

#include <unistd.h>

#include "board/preload/Next.h"
#include "board/preload/Preloaded.h"
#include "board/preload/TimeWaits.h"

namespace VelrixBoard::Preload {

namespace {

constinit Next<int(const timespec*, timespec*)> nextNanosleep{"nanosleep"};
constinit Next<int(clockid_t, int, const timespec*, timespec*)> nextClockNanosleep{"clock_nanosleep"};
constinit Next<unsigned(unsigned)> nextSleep{"sleep"};
constinit Next<int(useconds_t)> nextUsleep{"usleep"};

// An error number, as clock_nanosleep gives it.
int Sleep(TimePage& page, const Time::Deadline& deadline, timespec* left) {
    const int error = Time::SleepUntil(page, deadline);
    if (error < 0) { // no entry
        const timespec rest = Time::ToTimespec(Time::Left(page, deadline));
        return nextClockNanosleep(CLOCK_MONOTONIC, 0, &rest, left);
    }
    if (error == EINTR && left != nullptr)
        *left = Time::ToTimespec(Time::Left(page, deadline));
    return error;
}

int SleepFor(TimePage& page, const timespec& time, timespec* left) {
    return Time::IsValid(time) ? Sleep(page, Time::After(page, Time::ToNanoseconds(time)), left) : EINVAL;
}

} // namespace

} // namespace VelrixBoard::Preload

using namespace VelrixBoard::Preload;

VELRIX_PRELOADED(int, nanosleep, const timespec* time, timespec* left) {
    TimePage* const page = Time::Page();
    if (page == nullptr || time == nullptr)
        return nextNanosleep(time, left);
    const int before = errno;
    const int error = SleepFor(*page, *time, left);
    errno = error != 0 ? error : before;
    return error != 0 ? -1 : 0;
}

VELRIX_PRELOADED(int, clock_nanosleep, clockid_t clock, int flags, const timespec* time, timespec* left) {
    const Time::ClockKind kind = Time::KindOf(clock);
    TimePage* const page = kind != Time::ClockKind::OTHER ? Time::Page() : nullptr;
    if (page == nullptr || time == nullptr)
        return nextClockNanosleep(clock, flags, time, left);
    if ((flags & TIMER_ABSTIME) == 0)
        return SleepFor(*page, *time, left);
    if (!Time::IsValid(*time))
        return EINVAL;
    return Sleep(*page, {Time::ToNanoseconds(*time), kind == Time::ClockKind::WALL}, nullptr);
}

VELRIX_PRELOADED(unsigned, sleep, unsigned seconds) {
    TimePage* const page = Time::Page();
    if (page == nullptr)
        return nextSleep(seconds);
    timespec left{};
    if (SleepFor(*page, {static_cast<time_t>(seconds), 0}, &left) != EINTR)
        return 0;
    return static_cast<unsigned>(left.tv_sec) + (left.tv_nsec >= Time::NANOSECONDS / 2 ? 1 : 0);
}

VELRIX_PRELOADED(int, usleep, useconds_t microseconds) {
    TimePage* const page = Time::Page();
    if (page == nullptr)
        return nextUsleep(microseconds);
    const timespec time{static_cast<time_t>(microseconds / 1'000'000),
                        static_cast<long>(microseconds % 1'000'000) * 1000};
    const int error = SleepFor(*page, time, nullptr);
    if (error == 0)
        return 0;
    errno = error;
    return -1;
}

// For the system calls of these names.
extern "C" __attribute__((visibility("hidden"), alias("nanosleep"))) decltype(velrix_nanosleep) velrix_own_nanosleep;
extern "C" __attribute__((visibility("hidden"),
                          alias("clock_nanosleep"))) decltype(velrix_clock_nanosleep) velrix_own_clock_nanosleep;
