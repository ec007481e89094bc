// SPDX-License-Identifier: Apache-2.0
#include "board/time/TimedWaits.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <iterator>
#include <thread>

#include <linux/futex.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <unistd.h>

#include "board/base/BoardError.h"
#include "board/time/TimedSystemCalls.h"

namespace VelrixBoard {

namespace {

using Preload::NEVER;
using Preload::SignalTimer;
using Preload::ThreadEntry;
using Preload::TimePage;
using Preload::WaitKind;
namespace WaitWord = Preload::WaitWord;

constexpr std::size_t SHOWN_THREADS = 5;

// Longer than what a program computes between two waits, however cold the caches are.
constexpr BoardTime ALLOWANCE = std::chrono::milliseconds(25);

// How long a thread that has said that it sleeps is waited for at most until it does, on a busy machine.
constexpr auto SLEEP_BEGINS = std::chrono::microseconds(100);
constexpr int MOST_SLEEP_LOOKS = 200;

// The system call that a thread sleeps in whose entry is of that kind. One that was stopped and goes on is in another.
bool IsCallOf(WaitKind kind, long call) {
    return kind == WaitKind::POLL ? call == SYS_ppoll
                                  : kind != WaitKind::NONE && (call == SYS_futex || call == SYS_restart_syscall);
}

} // namespace

TimedWaits::TimedWaits(TimePage& timePage, IProgramThreads& programThreads)
    : page(timePage), threads(programThreads), socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {
    if (!socket)
        ThrowSystemError("cannot make the socket that wakes programs");
}

void TimedWaits::Advance(BoardTime to) {
    std::int64_t before = page.now.load();
    while (before < to.count() && !page.now.compare_exchange_weak(before, to.count())) {
    }
}

// Threads that poll choose the soonest of their timers anew.
void TimedWaits::ChangeWallClock(const WallClockChange& change) {
    const std::int64_t base = change.isRelative ? page.wallBase.load() : -page.now.load();
    page.wallBase.store(base + change.time.count());
    const std::uint32_t count = std::min(page.usedEntries.load(), TimePage::ENTRIES);
    for (std::uint32_t i = 0; i < count; ++i)
        if (page.entries[i].kind.load() == WaitKind::POLL)
            Wake(page.entries[i], page.entries[i].ticket.load());
}

// The entry of the thread with that index; null: it has none.
ThreadEntry* TimedWaits::Find(std::size_t thread) {
    const ProgramThread& wanted = threads.Threads()[thread];
    const auto isOf = [&wanted](const ThreadEntry& entry) {
        return entry.thread.load() == wanted.number && entry.process.load() == wanted.process;
    };
    entries.resize(threads.Threads().size());
    if (entries[thread] != nullptr && isOf(*entries[thread]))
        return entries[thread];
    ThreadEntry* const end = page.entries + std::min(page.usedEntries.load(), TimePage::ENTRIES);
    ThreadEntry* const found = std::find_if(page.entries, end, isOf);
    return entries[thread] = found != end ? found : nullptr;
}

void TimedWaits::LetBegin(bool may) {
    page.isStarted.store(may ? 1 : 0);
    ::syscall(SYS_futex, &page.isStarted, FUTEX_WAKE, 1, nullptr, nullptr, 0);
}

void TimedWaits::Account() {
    for (const ProgramThread& thread : threads.Threads()) {
        const BoardTime now = Now();
        const auto [place, isNew] = bursts.try_emplace({thread.process, thread.number}, Burst{thread.spent, now});
        Burst& burst = place->second;
        const BoardTime used(static_cast<std::int64_t>(thread.spent - std::min(burst.spent, thread.spent)));
        const BoardTime missing = used - (now - burst.begin);
        if (missing <= BoardTime::zero() || (!burst.isCounted && missing < ALLOWANCE))
            continue;
        burst.isCounted = true;
        Advance(now + missing);
    }
}

void TimedWaits::Match() {
    hasSignalled = false;
    sleepers.clear();
    others.clear();
    bursts.clear();
    std::size_t withEntry = 0;
    for (std::size_t i = 0; i < threads.Threads().size(); ++i) {
        const ProgramThread& thread = threads.Threads()[i];
        ThreadEntry* const entry = Find(i);
        withEntry += entry != nullptr ? 1 : 0;
        if (entry != nullptr && IsCallOf(entry->kind.load(), thread.call))
            sleepers.push_back({entry, entry->ticket.load(), &thread});
        else
            others.push_back(&thread);
    }
    if (withEntry != page.liveEntries.load())
        FreeEnded();
}

void TimedWaits::LetBeQuick(bool may) {
    const bool isSingle = sleepers.size() == 1 && others.empty() && sleepers[0].entry->kind.load() == WaitKind::FUTEX;
    page.isQuick.store(may && isSingle ? 1 : 0);
}

// A handler ends a sleep, but not that of the only thread, which is not looked at, before it has fallen asleep.
void TimedWaits::OnSignal() {
    hasSignalled = true;
    page.isQuick.store(0);
    for (int i = 0; i < MOST_SLEEP_LOOKS && IsSingleArmed() && !threads.AreAsleep(); ++i)
        std::this_thread::sleep_for(SLEEP_BEGINS);
}

// Whether the only thread has said that it sleeps until a time, and nothing has ended that.
bool TimedWaits::IsSingleArmed() const {
    if (sleepers.size() != 1 || !others.empty())
        return false;
    const ThreadEntry& entry = *sleepers[0].entry;
    return entry.kind.load() == WaitKind::FUTEX && entry.word.load() == WaitWord::Armed(entry.ticket.load());
}

bool TimedWaits::MatchSingle() {
    if (hasSignalled || woken == nullptr || sleepers.size() != 1 || !others.empty() || sleepers[0].entry != woken ||
        !HasWokenReturned())
        return false;
    if (!IsSingleArmed() || !threads.IsStillAlone())
        return false;
    sleepers[0].ticket = woken->ticket.load();
    bursts.clear();
    return true;
}

// The entries of threads and the timers of processes that have ended.
void TimedWaits::FreeEnded() {
    std::uint32_t live = 0;
    const std::uint32_t count = std::min(page.usedEntries.load(), TimePage::ENTRIES);
    for (std::uint32_t i = 0; i < count; ++i) {
        ThreadEntry& entry = page.entries[i];
        if (entry.thread.load() == 0)
            continue;
        if (std::find(entries.begin(), entries.end(), &entry) != entries.end()) {
            ++live;
            continue;
        }
        entry.kind.store(WaitKind::NONE);
        entry.thread.store(0);
    }
    page.liveEntries.store(live);
    for (SignalTimer& timer : page.timers) {
        const pid_t process = timer.process.load();
        const std::uint32_t state = timer.state.load();
        const bool isThere = std::any_of(threads.Threads().begin(), threads.Threads().end(),
                                         [process](const ProgramThread& each) { return each.process == process; });
        if ((state == SignalTimer::ARMED || state == SignalTimer::DISARMED) && process != 0 && !isThere) {
            timer.process.store(0);
            timer.state.store(SignalTimer::FREE);
        }
    }
}

bool TimedWaits::WakeRetries() {
    const auto isRetry = [](const Sleeper& sleeper) { return sleeper.entry->kind.load() == WaitKind::RETRY; };
    if (std::none_of(sleepers.begin(), sleepers.end(), isRetry))
        return false;
    // Who ran, but for those that tried again.
    std::uint64_t signature = page.progress.load() + 1;
    for (const ProgramThread* thread : others)
        signature += thread->spent;
    for (const Sleeper& sleeper : sleepers)
        signature += isRetry(sleeper) ? 0 : sleeper.thread->spent;
    if (std::exchange(lastSignature, signature) == signature)
        return false;
    for (const Sleeper& sleeper : sleepers)
        if (isRetry(sleeper))
            Wake(*sleeper.entry, sleeper.ticket);
    return true;
}

std::optional<BoardTime> TimedWaits::DueOf(std::int64_t deadline, bool isWall) const {
    if (deadline == NEVER)
        return std::nullopt;
    return BoardTime(deadline - (isWall ? page.wallBase.load() : page.monotonicBase));
}

std::optional<BoardTime> TimedWaits::DueOf(const ThreadEntry& entry) const {
    return DueOf(entry.deadline.load(), entry.isWall.load() != 0);
}

SignalTimer* TimedWaits::FirstTimer(std::optional<BoardTime>& due) const {
    SignalTimer* first = nullptr;
    const std::uint32_t count = std::min(page.usedTimers.load(), TimePage::TIMERS);
    for (std::uint32_t i = 0; i < count; ++i) {
        SignalTimer& timer = page.timers[i];
        const auto own = timer.state.load() == SignalTimer::ARMED
                             ? DueOf(timer.deadline.load(), timer.isWall.load() != 0)
                             : std::nullopt;
        if (own && (!due || *own < *due)) {
            due = own;
            first = &timer;
        }
    }
    return first;
}

std::optional<std::uint64_t> TimedWaits::WakeFirst() {
    std::optional<BoardTime> due;
    const Sleeper* first = nullptr;
    for (const Sleeper& sleeper : sleepers) {
        const auto own = DueOf(*sleeper.entry);
        if (own && (first == nullptr || *own < *due || (*own == *due && sleeper.ticket < first->ticket))) {
            due = own;
            first = &sleeper;
        }
    }
    SignalTimer* const timer = FirstTimer(due);
    if (timer != nullptr && *due <= Now()) {
        Fire(*timer);
        return 0;
    }
    if (first == nullptr || *due > Now())
        return std::nullopt;
    Wake(*first->entry, first->ticket);
    woken = first->entry;
    return wokenTicket = first->ticket;
}

bool TimedWaits::HasWokenReturned() const {
    return woken == nullptr || (woken->kind.load() != WaitKind::NONE && woken->ticket.load() != wokenTicket);
}

std::optional<BoardTime> TimedWaits::Soonest() const {
    std::optional<BoardTime> due;
    for (const Sleeper& sleeper : sleepers)
        if (const auto own = DueOf(*sleeper.entry); own && (!due || *own < *due))
            due = own;
    (void)FirstTimer(due);
    return due;
}

void TimedWaits::WakeAllDue() {
    const std::uint32_t count = std::min(page.usedEntries.load(), TimePage::ENTRIES);
    for (std::uint32_t i = 0; i < count; ++i) {
        ThreadEntry& entry = page.entries[i];
        const WaitKind kind = entry.kind.load();
        const std::uint64_t ticket = entry.ticket.load();
        const auto due = kind == WaitKind::NONE ? std::nullopt : DueOf(entry);
        if (kind == WaitKind::RETRY || (due && *due <= Now()))
            Wake(entry, ticket);
    }
    std::optional<BoardTime> due;
    for (std::uint32_t i = 0; i < TimePage::TIMERS; ++i, due.reset()) {
        SignalTimer* const timer = FirstTimer(due);
        if (timer == nullptr || *due > Now())
            return;
        Fire(*timer);
    }
}

// A thread that has begun another wait meanwhile wakes too early, and waits on.
void TimedWaits::Wake(ThreadEntry& entry, std::uint64_t ticket) const {
    std::uint32_t word = WaitWord::Armed(ticket);
    entry.word.compare_exchange_strong(word, word | WaitWord::WOKEN);
    if (entry.kind.load() != WaitKind::POLL) {
        ::syscall(SYS_futex, &entry.word, FUTEX_WAKE, 1, nullptr, nullptr, 0);
        return;
    }
    constexpr std::size_t DIGITS = 5;
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::uint32_t name = entry.wakeName.load();
    for (std::size_t i = DIGITS; i >= 1; --i, name /= 16)
        address.sun_path[i] = "0123456789abcdef"[name % 16];
    // A full queue wakes as well.
    (void)::sendto(socket.Get(), "", 1, MSG_NOSIGNAL, reinterpret_cast<const sockaddr*>(&address),
                   offsetof(sockaddr_un, sun_path) + 1 + DIGITS);
}

// One expiration, however many intervals have passed, as signals do not queue.
void TimedWaits::Fire(SignalTimer& timer) {
    std::uint32_t state = SignalTimer::ARMED;
    if (!timer.state.compare_exchange_strong(state, SignalTimer::BEING_CHANGED))
        return;
    const auto due = DueOf(timer.deadline.load(), timer.isWall.load() != 0);
    const std::int64_t interval = timer.interval.load();
    const bool isDue = due && *due <= Now();
    if (isDue) {
        const std::int64_t periods = interval > 0 ? (Now() - *due).count() / interval + 1 : 0;
        timer.deadline.store(Preload::NextDeadline(timer.deadline.load(), interval, periods));
    }
    const TimerSignal signal{timer.process.load(), timer.thread.load(), timer.signal.load(),
                             timer.code.load(),    timer.number.load(), timer.value.load()};
    timer.state.store(timer.deadline.load() == NEVER ? SignalTimer::DISARMED : SignalTimer::ARMED);
    if (isDue && signal.signal != 0) {
        OnSignal();
        threads.Send(signal);
    }
}

// A process that has never had an entry has not loaded the library.
std::optional<std::string> TimedWaits::FindUnserved() const {
    const auto isServed = [this](const ProgramThread& thread) {
        return std::any_of(entries.begin(), entries.end(), [&thread](const ThreadEntry* entry) {
            return entry != nullptr && entry->process.load() == thread.process;
        });
    };
    for (const ProgramThread* thread : others) {
        if (!isServed(*thread))
            return threads.Describe(*thread) +
                   " has the machine's clock: it is linked statically, or was started without "
                   "the board's environment";
        if (!thread->isReadable)
            return "the kernel does not say what " + threads.Describe(*thread) + " waits in";
        if (const char* name = TimedSystemCall(*thread))
            return threads.Describe(*thread) + " waits past the board's clock, by the system call " + name;
    }
    return UnservedUse();
}

std::optional<std::string> TimedWaits::UnservedUse() const {
    const std::uint32_t count = std::min(page.uses.load(), TimePage::USES);
    for (std::uint32_t i = 0; i < count; ++i) {
        const pid_t process = page.unserved[i].process.load();
        const auto what = static_cast<std::size_t>(page.unserved[i].what.load());
        for (const ProgramThread& thread : threads.Threads())
            if (thread.process == process && what < std::size(Preload::UNSERVED_NAMES))
                return threads.Describe(thread) + " uses " + Preload::UNSERVED_NAMES[what];
    }
    return std::nullopt;
}

std::string TimedWaits::Describe(std::optional<std::uint64_t> ticket) const {
    std::string text;
    std::size_t shown = 0;
    const auto add = [&](const ProgramThread& thread, const std::string& what) {
        if (++shown <= SHOWN_THREADS)
            text += (text.empty() ? "" : "; ") + threads.Describe(thread) + " waits " + what;
    };
    for (const Sleeper& sleeper : sleepers)
        if (!ticket || *ticket == sleeper.ticket)
            add(*sleeper.thread,
                "for " + std::string(Preload::TIMED_CALL_NAMES[static_cast<std::size_t>(sleeper.entry->call.load()) %
                                                               std::size(Preload::TIMED_CALL_NAMES)]));
    for (const ProgramThread* thread : others)
        if (!ticket)
            add(*thread, "in system call " + std::to_string(thread->call));
    if (shown > SHOWN_THREADS)
        text += "; and " + std::to_string(shown - SHOWN_THREADS) + " more";
    return text.empty() ? "nobody waits" : text;
}

} // namespace VelrixBoard
