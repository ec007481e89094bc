// SPDX-License-Identifier: Apache-2.0
#include "tests/support/FakeClock.h"

#include <atomic>

#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

namespace TestSupport {

namespace {

constexpr long long NANOSECONDS_PER_SECOND = 1'000'000'000;

// Separate seconds and nanoseconds, so that a test can set times beyond 64 bits of nanoseconds.
std::atomic<bool> active{false};
std::atomic<long long> base{0};  // seconds
std::atomic<long long> shift{0}; // nanoseconds after base
std::atomic<long long> step{0};
std::atomic<int> calls{0};

} // namespace

FakeClock::FakeClock() noexcept {
    Set(1'795'248'930, 42'000'000);
    step = 0;
    calls = 0;
    active = true;
}

FakeClock::~FakeClock() {
    active = false;
}

void FakeClock::Set(long long seconds, long nanoseconds) noexcept {
    base = seconds;
    shift = nanoseconds;
}

void FakeClock::AdvanceNanoseconds(long long span) noexcept {
    shift += span;
}

void FakeClock::AdvanceAtEachReading(long long nanoseconds) noexcept {
    step = nanoseconds;
}

int FakeClock::CallCount() const noexcept {
    return calls;
}

} // namespace TestSupport

using namespace TestSupport;

// Interposes the C library's. With 64-bit time on a 32-bit machine, the header renames this definition and its callers
// alike.
extern "C" int clock_gettime(clockid_t clock, timespec* now) noexcept {
    if (clock != CLOCK_REALTIME || !active) {
#ifdef SYS_clock_gettime64
        return static_cast<int>(::syscall(SYS_clock_gettime64, clock, now));
#else
        return static_cast<int>(::syscall(SYS_clock_gettime, clock, now));
#endif
    }
    ++calls;
    const long long since = shift.fetch_add(step);
    long long seconds = since / NANOSECONDS_PER_SECOND;
    long long nanoseconds = since % NANOSECONDS_PER_SECOND;
    if (nanoseconds < 0) {
        nanoseconds += NANOSECONDS_PER_SECOND;
        --seconds;
    }
    *now = {};
    now->tv_sec = static_cast<time_t>(base + seconds);
    now->tv_nsec = static_cast<long>(nanoseconds);
    return 0;
}
