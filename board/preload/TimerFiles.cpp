// SPDX-License-Identifier: Apache-2.0
#include "board/preload/TimerFiles.h"

#include <algorithm>
#include <atomic>
#include <cerrno>

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/timerfd.h>

#include "board/preload/Kernel.h"
#include "board/preload/Next.h"
#include "board/preload/Preloaded.h"
#include "board/preload/TimeWaits.h"

namespace VelrixBoard::Preload {

namespace {

constinit Next<int(int, int)> nextCreate{"timerfd_create"};
constinit Next<int(int, int, const itimerspec*, itimerspec*)> nextSetTime{"timerfd_settime"};
constinit Next<int(int, itimerspec*)> nextGetTime{"timerfd_gettime"};

// A timer. lock: 0 free, else held by a thread that changes it. descriptor: plus 1; 0: none.
struct Timer {
    std::atomic<std::uint32_t> lock;
    std::atomic<int> descriptor;
    bool isWall;
    std::int64_t deadline;
    std::int64_t interval;
};
constexpr int TIMERS = 256;
constinit Timer timers[TIMERS] = {};
constinit std::atomic<int> used{0}; // no timer from this one on was ever used

// Held for a few instructions and a write that does not block; a signal handler that interrupts the holder skips.
class Lock final {
public:
    explicit Lock(Timer& ownTimer) : timer(ownTimer) {
        constexpr int MOST_SPINS = 100'000;
        for (int i = 0; i < MOST_SPINS && !isHeld; ++i)
            isHeld = timer.lock.exchange(1) == 0;
    }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;
    ~Lock() {
        if (isHeld)
            timer.lock.store(0);
    }
    explicit operator bool() const { return isHeld; }

private:
    Timer& timer;
    bool isHeld = false;
};

Timer* Find(int descriptor) {
    const int count = used.load();
    for (int i = 0; i < count; ++i)
        if (timers[i].descriptor.load() == descriptor + 1 && descriptor >= 0)
            return &timers[i];
    return nullptr;
}

// The entry of a closed descriptor that had the same number, or a free one; null when there is none.
Timer* Take(int descriptor) {
    for (Timer& timer : timers)
        if (timer.descriptor.load() == descriptor + 1)
            return &timer;
    for (int i = 0; i < TIMERS; ++i) {
        int none = 0;
        if (!timers[i].descriptor.compare_exchange_strong(none, descriptor + 1))
            continue;
        int before = used.load();
        while (before < i + 1 && !used.compare_exchange_weak(before, i + 1)) {
        }
        return &timers[i];
    }
    return nullptr;
}

void FireOne(TimePage& page, Timer& timer) {
    const Lock lock(timer);
    if (!lock || timer.deadline == NEVER || timer.descriptor.load() == 0)
        return;
    const std::int64_t now = Time::Now(page, timer.isWall);
    if (timer.deadline > now)
        return;
    const int descriptor = timer.descriptor.load() - 1;
    std::uint64_t expirations = 1;
    if (timer.interval > 0)
        expirations += static_cast<std::uint64_t>((now - timer.deadline) / timer.interval);
    timer.deadline = NextDeadline(timer.deadline, timer.interval, static_cast<std::int64_t>(expirations));
    (void)Kernel::Write(descriptor, &expirations, sizeof expirations);
}

itimerspec Remaining(TimePage& page, const Timer& timer) {
    itimerspec result{};
    result.it_interval = Time::ToTimespec(timer.interval);
    // A timer that is armed never shows zero.
    if (timer.deadline != NEVER)
        result.it_value = Time::ToTimespec(std::max<std::int64_t>(timer.deadline - Time::Now(page, timer.isWall), 1));
    return result;
}

int Create(clockid_t clock, int flags) {
    static_assert(int(TFD_CLOEXEC) == int(EFD_CLOEXEC) && int(TFD_NONBLOCK) == int(EFD_NONBLOCK));
    if ((flags & ~(TFD_CLOEXEC | TFD_NONBLOCK)) != 0) {
        errno = EINVAL;
        return -1;
    }
    const int descriptor = ::eventfd(0, flags);
    if (descriptor < 0)
        return -1;
    Timer* const timer = Take(descriptor);
    if (timer == nullptr) {
        Kernel::Close(descriptor);
        errno = ENFILE;
        return -1;
    }
    const Lock lock(*timer);
    timer->isWall = Time::KindOf(clock) == Time::ClockKind::WALL;
    timer->deadline = NEVER;
    timer->interval = 0;
    return descriptor;
}

int SetTime(TimePage& page, Timer& timer, int flags, const itimerspec& to, itimerspec* before) {
    if (!Time::IsValid(to.it_value) || !Time::IsValid(to.it_interval)) {
        errno = EINVAL;
        return -1;
    }
    {
        const Lock lock(timer);
        if (before != nullptr)
            *before = Remaining(page, timer);
        const int descriptor = timer.descriptor.load() - 1;
        // Expirations that nobody has read are gone.
        std::uint64_t unread = 0;
        (void)Kernel::ReadNow(descriptor, &unread, sizeof unread);
        const std::int64_t value = Time::ToNanoseconds(to.it_value);
        timer.interval = Time::ToNanoseconds(to.it_interval);
        const std::int64_t now = Time::Now(page, timer.isWall);
        if (value == 0)
            timer.deadline = NEVER;
        else if ((flags & TFD_TIMER_ABSTIME) != 0)
            timer.deadline = value;
        else
            timer.deadline = value >= NEVER - now ? NEVER : now + value;
    }
    TimerFiles::Fire(page);
    Time::WakePolls(page);
    return 0;
}

} // namespace

void TimerFiles::Fire(TimePage& page) {
    const Kernel::KeptErrno kept;
    const int count = used.load();
    for (int i = 0; i < count; ++i)
        if (timers[i].descriptor.load() != 0)
            FireOne(page, timers[i]);
}

// Also where nobody has read the last expiration: an edge-triggered queue tells of each.
Time::Deadline TimerFiles::Next(TimePage& page) {
    const Kernel::KeptErrno kept;
    Time::Deadline soonest;
    std::int64_t left = NEVER;
    const int count = used.load();
    for (int i = 0; i < count; ++i) {
        Timer& timer = timers[i];
        const Lock lock(timer);
        if (!lock || timer.descriptor.load() == 0 || timer.deadline == NEVER)
            continue;
        const Time::Deadline deadline{timer.deadline, timer.isWall};
        const std::int64_t leftOfTimer = Time::Left(page, deadline);
        if (leftOfTimer < left) {
            left = leftOfTimer;
            soonest = deadline;
        }
    }
    return soonest;
}

bool TimerFiles::Read(int descriptor, void* buffer, std::size_t size, ssize_t& result) {
    if (used.load() == 0 || Find(descriptor) == nullptr)
        return false;
    TimePage* const page = Time::Page();
    if (page != nullptr && Kernel::IsNonBlocking(descriptor)) {
        Fire(*page);
        return false;
    }
    constexpr int MOST_READERS = 1'000'000; // each of which can take an expiration away
    result = -1;
    for (int i = 0; i < MOST_READERS && page != nullptr; ++i) {
        pollfd wait{descriptor, POLLIN, 0};
        if (Time::Poll(*page, TimedCall::TIMER_FILE, &wait, 1, {}, nullptr) < 0)
            return true;
        result = Kernel::ReadNow(descriptor, buffer, size);
        if (result >= 0 || errno != EAGAIN)
            return true;
    }
    return true;
}

void TimerFiles::ReleaseInChild() {
    for (Timer& timer : timers)
        timer.lock.store(0);
}

void TimerFiles::Forget(int descriptor) {
    if (descriptor >= 0)
        Forget(static_cast<unsigned>(descriptor), static_cast<unsigned>(descriptor));
}

// Not in the child of a vfork, which shares this memory but not the descriptors.
void TimerFiles::Forget(unsigned first, unsigned last) {
    const int count = used.load();
    for (int i = 0; i < count; ++i) {
        const int number = timers[i].descriptor.load() - 1;
        if (number >= 0 && static_cast<unsigned>(number) >= first && static_cast<unsigned>(number) <= last &&
            Time::IsOwnMemory())
            timers[i].descriptor.store(0);
    }
}

} // namespace VelrixBoard::Preload

using namespace VelrixBoard::Preload;

VELRIX_PRELOADED(int, timerfd_create, int clock, int flags) {
    const bool isServed = Time::KindOf(clock) != Time::ClockKind::OTHER && Time::Page() != nullptr;
    return isServed ? Create(clock, flags) : nextCreate(clock, flags);
}

VELRIX_PRELOADED(int, timerfd_settime, int descriptor, int flags, const itimerspec* to, itimerspec* before) {
    TimePage* const page = Time::Page();
    Timer* const timer = page != nullptr ? Find(descriptor) : nullptr;
    return timer != nullptr ? SetTime(*page, *timer, flags, *to, before) : nextSetTime(descriptor, flags, to, before);
}

VELRIX_PRELOADED(int, timerfd_gettime, int descriptor, itimerspec* time) {
    TimePage* const page = Time::Page();
    Timer* const timer = page != nullptr ? Find(descriptor) : nullptr;
    if (timer == nullptr)
        return nextGetTime(descriptor, time);
    const Lock lock(*timer);
    *time = Remaining(*page, *timer);
    return 0;
}
