// SPDX-License-Identifier: Apache-2.0
// Hooks for timers that send a signal, and for waits for signals. The board sends the signals.
#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <ctime>

#include <poll.h>
#include <pthread.h>
#include <sys/signalfd.h>
#include <sys/time.h>
#include <unistd.h>

#include "board/preload/Kernel.h"
#include "board/preload/Next.h"
#include "board/preload/Preloaded.h"
#include "board/preload/TimeWaits.h"

namespace VelrixBoard::Preload {

namespace {

constinit Next<unsigned(unsigned)> nextAlarm{"alarm"};
constinit Next<useconds_t(useconds_t, useconds_t)> nextUalarm{"ualarm"};
constinit Next<int(int, const itimerval*, itimerval*)> nextSetItimer{"setitimer"};
constinit Next<int(int, itimerval*)> nextGetItimer{"getitimer"};
constinit Next<int(clockid_t, sigevent*, timer_t*)> nextCreate{"timer_create"};
constinit Next<int(timer_t, int, const itimerspec*, itimerspec*)> nextSetTime{"timer_settime"};
constinit Next<int(timer_t, itimerspec*)> nextGetTime{"timer_gettime"};
constinit Next<int(timer_t)> nextGetOverrun{"timer_getoverrun"};
constinit Next<int(timer_t)> nextDelete{"timer_delete"};
constinit Next<int(const sigset_t*, siginfo_t*, const timespec*)> nextSignalWait{"sigtimedwait"};

// Numbers of timers that the kernel does not give.
constexpr std::intptr_t FIRST_NUMBER = 0x5'6584'0000;

int Fail(int error) {
    errno = error;
    return -1;
}

// Takes the timer from the board for the time of a change. The board holds it for a few instructions.
class Change final {
public:
    Change(TimePage& ownPage, SignalTimer& ownTimer) : page(ownPage), timer(ownTimer) {
        constexpr int MOST_SPINS = 10'000'000;
        for (int i = 0; i < MOST_SPINS; ++i) {
            before = timer.state.load();
            if (before != SignalTimer::BEING_CHANGED &&
                timer.state.compare_exchange_weak(before, SignalTimer::BEING_CHANGED))
                break;
        }
    }
    Change(const Change&) = delete;
    Change& operator=(const Change&) = delete;
    ~Change() { timer.state.store(timer.deadline.load() == NEVER ? SignalTimer::DISARMED : SignalTimer::ARMED); }

    itimerspec Remaining() const {
        itimerspec result{};
        result.it_interval = Time::ToTimespec(timer.interval.load());
        // A timer that is armed never shows zero.
        if (before == SignalTimer::ARMED)
            result.it_value = Time::ToTimespec(
                std::max<std::int64_t>(timer.deadline.load() - Time::Now(page, timer.isWall.load() != 0), 1));
        return result;
    }

    void Set(std::int64_t value, std::int64_t interval, bool isAbsolute) {
        const std::int64_t now = Time::Now(page, timer.isWall.load() != 0);
        timer.interval.store(interval);
        timer.deadline.store(value == 0 ? NEVER : isAbsolute ? value : value >= NEVER - now ? NEVER : now + value);
    }

private:
    TimePage& page;
    SignalTimer& timer;
    std::uint32_t before = SignalTimer::DISARMED;
};

SignalTimer* Allocate(TimePage& page) {
    for (SignalTimer& timer : page.timers) {
        std::uint32_t free = SignalTimer::FREE;
        if (!timer.state.compare_exchange_strong(free, SignalTimer::BEING_CHANGED))
            continue;
        const auto place = static_cast<std::uint32_t>(&timer - page.timers);
        std::uint32_t before = page.usedTimers.load();
        while (before < place + 1 && !page.usedTimers.compare_exchange_weak(before, place + 1)) {
        }
        timer.process.store(static_cast<std::int32_t>(Kernel::Process()));
        timer.deadline.store(NEVER);
        timer.interval.store(0);
        timer.thread.store(0);
        timer.isWall.store(0);
        return &timer;
    }
    return nullptr;
}

// The process's timer of alarm and setitimer; null when there is no room.
SignalTimer* AlarmTimer(TimePage& page, bool isNeeded) {
    const auto process = static_cast<std::int32_t>(Kernel::Process());
    for (SignalTimer& timer : page.timers)
        if (timer.state.load() != SignalTimer::FREE && timer.process.load() == process && timer.code.load() == SI_USER)
            return &timer;
    SignalTimer* const timer = isNeeded ? Allocate(page) : nullptr;
    if (timer == nullptr)
        return nullptr;
    timer->signal.store(SIGALRM);
    timer->code.store(SI_USER);
    timer->state.store(SignalTimer::DISARMED);
    return timer;
}

itimerval ToItimerval(const itimerspec& time) {
    return {{time.it_interval.tv_sec, time.it_interval.tv_nsec / 1000},
            {time.it_value.tv_sec, (time.it_value.tv_nsec + 999) / 1000}};
}

int SetAlarm(TimePage& page, const itimerval& to, itimerval* before) {
    const std::int64_t value = Time::ToNanoseconds(to.it_value), interval = Time::ToNanoseconds(to.it_interval);
    SignalTimer* const timer = AlarmTimer(page, value != 0);
    if (before != nullptr)
        *before = {};
    if (timer == nullptr)
        return value == 0 ? 0 : Fail(EAGAIN);
    Change change(page, *timer);
    if (before != nullptr)
        *before = ToItimerval(change.Remaining());
    change.Set(value, interval, false);
    return 0;
}

// A timer of this process; null for the kernel's.
SignalTimer* Find(TimePage& page, timer_t number) {
    const std::intptr_t index = reinterpret_cast<std::intptr_t>(number) - FIRST_NUMBER;
    if (index < 0 || index >= static_cast<std::intptr_t>(TimePage::TIMERS))
        return nullptr;
    SignalTimer& timer = page.timers[index];
    const bool isOwn = timer.process.load() == static_cast<std::int32_t>(Kernel::Process());
    return isOwn && timer.state.load() != SignalTimer::FREE ? &timer : nullptr;
}

SignalTimer* Find(timer_t number) {
    TimePage* const page = Time::Page();
    return page != nullptr ? Find(*page, number) : nullptr;
}

int Create(TimePage& page, clockid_t clock, const sigevent* event, timer_t* number) {
    SignalTimer* const timer = Allocate(page);
    if (timer == nullptr)
        return Fail(EAGAIN);
    const std::intptr_t index = timer - page.timers;
    *number = reinterpret_cast<timer_t>(FIRST_NUMBER + index);
    timer->isWall.store(Time::KindOf(clock) == Time::ClockKind::WALL ? 1 : 0);
    timer->code.store(SI_TIMER);
    timer->number.store(static_cast<std::int32_t>(index));
    timer->signal.store(event == nullptr ? SIGALRM : event->sigev_notify == SIGEV_NONE ? 0 : event->sigev_signo);
    timer->thread.store(event != nullptr && event->sigev_notify == SIGEV_THREAD_ID ? event->_sigev_un._tid : 0);
    timer->value.store(event != nullptr ? reinterpret_cast<std::uintptr_t>(event->sigev_value.sival_ptr)
                                        : static_cast<std::uint64_t>(index));
    timer->state.store(SignalTimer::DISARMED);
    return 0;
}

// In a cancelled thread.
void CloseFile(void* file) {
    Kernel::Close(*static_cast<const int*>(file));
}

// Waits as poll does for one of the signals, without taking it: -1 and errno when that fails.
int AwaitSignal(TimePage& page, const sigset_t& signals, const Time::Deadline& deadline) {
    int file = Kernel::MoveUp(::signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK), 64);
    if (file < 0)
        return -1;
    pollfd wait{file, POLLIN, 0};
    int result = 0;
    pthread_cleanup_push(CloseFile, &file);
    result = Time::Poll(page, TimedCall::SIGNAL, &wait, 1, deadline, nullptr);
    pthread_cleanup_pop(0);
    const Kernel::KeptErrno kept;
    Kernel::Close(file);
    return result;
}

int WaitForSignal(TimePage& page, const sigset_t* signals, siginfo_t* information, const timespec& timeout) {
    constexpr timespec NOW{};
    const Time::Deadline deadline = Time::After(page, Time::ToNanoseconds(timeout));
    constexpr int MOST_OTHERS = 1'000'000; // threads that take a signal away
    for (int i = 0; i < MOST_OTHERS; ++i) {
        const int signal = nextSignalWait(signals, information, &NOW);
        if (signal >= 0 || errno != EAGAIN || Time::IsDue(page, deadline))
            return signal;
        if (AwaitSignal(page, *signals, deadline) < 0)
            return -1;
    }
    return Fail(EAGAIN);
}

} // namespace

} // namespace VelrixBoard::Preload

using namespace VelrixBoard::Preload;

VELRIX_PRELOADED(int, setitimer, int which, const itimerval* to, itimerval* before) {
    TimePage* const page = which == ITIMER_REAL && to != nullptr ? Time::Page() : nullptr;
    return page == nullptr ? nextSetItimer(which, to, before) : SetAlarm(*page, *to, before);
}

VELRIX_PRELOADED(int, getitimer, int which, itimerval* time) {
    TimePage* const page = which == ITIMER_REAL ? Time::Page() : nullptr;
    if (page == nullptr)
        return nextGetItimer(which, time);
    *time = {};
    SignalTimer* const timer = AlarmTimer(*page, false);
    if (timer != nullptr)
        *time = ToItimerval(Change(*page, *timer).Remaining());
    return 0;
}

VELRIX_PRELOADED(unsigned, alarm, unsigned seconds) {
    TimePage* const page = Time::Page();
    if (page == nullptr)
        return nextAlarm(seconds);
    itimerval before{};
    if (SetAlarm(*page, {{}, {static_cast<time_t>(seconds), 0}}, &before) != 0)
        return 0;
    const time_t left = before.it_value.tv_sec + (before.it_value.tv_usec >= 500'000 ? 1 : 0);
    return left == 0 && before.it_value.tv_usec != 0 ? 1 : static_cast<unsigned>(left);
}

VELRIX_PRELOADED(useconds_t, ualarm, useconds_t value, useconds_t interval) {
    TimePage* const page = Time::Page();
    if (page == nullptr)
        return nextUalarm(value, interval);
    constexpr useconds_t SECOND = 1'000'000;
    itimerval before{};
    const itimerval to{{interval / SECOND, interval % SECOND}, {value / SECOND, value % SECOND}};
    if (SetAlarm(*page, to, &before) != 0)
        return static_cast<useconds_t>(-1);
    return static_cast<useconds_t>(before.it_value.tv_sec * SECOND + before.it_value.tv_usec);
}

VELRIX_PRELOADED(int, timer_create, clockid_t clock, sigevent* event, timer_t* number) {
    TimePage* const page = Time::KindOf(clock) != Time::ClockKind::OTHER ? Time::Page() : nullptr;
    if (page == nullptr)
        return nextCreate(clock, event, number);
    if (event != nullptr && event->sigev_notify == SIGEV_THREAD) {
        Time::NoteUnserved(*page, Unserved::TIMER_THREAD);
        return nextCreate(clock, event, number);
    }
    return Create(*page, clock, event, number);
}

VELRIX_PRELOADED(int, timer_settime, timer_t number, int flags, const itimerspec* to, itimerspec* before) {
    SignalTimer* const timer = Find(number);
    if (timer == nullptr)
        return nextSetTime(number, flags, to, before);
    if (!Time::IsValid(to->it_value) || !Time::IsValid(to->it_interval))
        return Fail(EINVAL);
    Change change(*Time::Page(), *timer);
    if (before != nullptr)
        *before = change.Remaining();
    change.Set(Time::ToNanoseconds(to->it_value), Time::ToNanoseconds(to->it_interval), (flags & TIMER_ABSTIME) != 0);
    return 0;
}

VELRIX_PRELOADED(int, timer_gettime, timer_t number, itimerspec* time) {
    SignalTimer* const timer = Find(number);
    if (timer == nullptr)
        return nextGetTime(number, time);
    *time = Change(*Time::Page(), *timer).Remaining();
    return 0;
}

VELRIX_PRELOADED(int, timer_getoverrun, timer_t number) {
    return Find(number) == nullptr ? nextGetOverrun(number) : 0;
}

VELRIX_PRELOADED(int, timer_delete, timer_t number) {
    SignalTimer* const timer = Find(number);
    if (timer == nullptr)
        return nextDelete(number);
    {
        Change change(*Time::Page(), *timer);
        change.Set(0, 0, false);
    }
    timer->process.store(0);
    timer->state.store(SignalTimer::FREE);
    return 0;
}

VELRIX_PRELOADED(int, sigtimedwait, const sigset_t* signals, siginfo_t* information, const timespec* timeout) {
    const bool mayBlock = timeout != nullptr && Time::IsValid(*timeout) && Time::ToNanoseconds(*timeout) != 0;
    TimePage* const page = mayBlock ? Time::Page() : nullptr;
    return page == nullptr ? nextSignalWait(signals, information, timeout)
                           : WaitForSignal(*page, signals, information, *timeout);
}
