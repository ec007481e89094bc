// SPDX-License-Identifier: Apache-2.0
// Hooks that read and set the clock.
#include <cerrno>
#include <ctime>

#include <sys/time.h>

#include "board/preload/Kernel.h"
#include "board/preload/Names.h"
#include "board/preload/Next.h"
#include "board/preload/Preloaded.h"
#include "board/preload/Time.h"
#include "board/preload/TimeWaits.h"

namespace VelrixBoard::Preload {

namespace {

constinit Next<int(clockid_t, timespec*)> nextClockGetTime{"clock_gettime"};
constinit Next<int(clockid_t, const timespec*)> nextClockSetTime{"clock_settime"};
constinit Next<int(timeval*, void*)> nextGetTimeOfDay{"gettimeofday"};
constinit Next<int(const timeval*, const struct timezone*)> nextSetTimeOfDay{"settimeofday"};
constinit Next<time_t(time_t*)> nextTime{"time"};
constinit Next<int(timespec*, int)> nextTimespecGet{"timespec_get"};

// Sets the board's wall clock; the machine's stays as it is.
int SetWall(TimePage& page, std::int64_t nanoseconds) {
    const Names* const names = Names::Current();
    if (Kernel::EffectiveUser() != 0 && (names == nullptr || !names->IsRoot())) {
        errno = EPERM;
        return -1;
    }
    page.wallBase.store(nanoseconds - page.now.load());
    Time::WakePolls(page, true);
    return 0;
}

} // namespace

} // namespace VelrixBoard::Preload

using namespace VelrixBoard::Preload;

VELRIX_PRELOADED(int, clock_gettime, clockid_t clock, timespec* time) {
    const Time::ClockKind kind = Time::KindOf(clock);
    TimePage* const page = kind != Time::ClockKind::OTHER ? Time::Page() : nullptr;
    if (page == nullptr)
        return nextClockGetTime(clock, time);
    *time = Time::ToTimespec(Time::Read(*page, kind == Time::ClockKind::WALL));
    return 0;
}

VELRIX_PRELOADED(int, gettimeofday, timeval* time, void* zone) {
    TimePage* const page = Time::Page();
    if (page == nullptr)
        return nextGetTimeOfDay(time, zone);
    if (time != nullptr) {
        const timespec now = Time::ToTimespec(Time::Read(*page, true));
        *time = {now.tv_sec, now.tv_nsec / 1000};
    }
    return zone != nullptr ? nextGetTimeOfDay(nullptr, zone) : 0;
}

VELRIX_PRELOADED(time_t, time, time_t* time) {
    TimePage* const page = Time::Page();
    if (page == nullptr)
        return nextTime(time);
    const auto now = static_cast<time_t>(Time::Read(*page, true) / Time::NANOSECONDS);
    if (time != nullptr)
        *time = now;
    return now;
}

VELRIX_PRELOADED(int, timespec_get, timespec* time, int base) {
    TimePage* const page = base == TIME_UTC ? Time::Page() : nullptr;
    if (page == nullptr)
        return nextTimespecGet(time, base);
    *time = Time::ToTimespec(Time::Read(*page, true));
    return base;
}

VELRIX_PRELOADED(int, clock_settime, clockid_t clock, const timespec* time) {
    TimePage* const page = clock == CLOCK_REALTIME ? Time::Page() : nullptr;
    if (page == nullptr)
        return nextClockSetTime(clock, time);
    if (!Time::IsValid(*time)) {
        errno = EINVAL;
        return -1;
    }
    return SetWall(*page, Time::ToNanoseconds(*time));
}

VELRIX_PRELOADED(int, settimeofday, const timeval* time, const struct timezone* zone) {
    TimePage* const page = time != nullptr ? Time::Page() : nullptr;
    return page == nullptr ? nextSetTimeOfDay(time, zone) : SetWall(*page, Time::ToNanoseconds(*time));
}
