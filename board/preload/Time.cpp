// SPDX-License-Identifier: Apache-2.0
#include "board/preload/Time.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>

#include <fcntl.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "board/preload/Environment.h"
#include "board/preload/Kernel.h"
#include "board/preload/TimerFiles.h"

namespace VelrixBoard::Preload::Time {

namespace {

constinit std::atomic<TimePage*> current{nullptr};
constinit std::atomic<bool> isDecided{false};
constinit std::atomic<pid_t> owner{0}; // the process whose memory this is

// Initial-exec, so that a signal handler may be the first to use it.
__attribute__((tls_model("initial-exec"))) constinit thread_local ThreadEntry* own = nullptr;

const char* PagePath() {
    const std::size_t length = std::strlen(TIME_VARIABLE);
    for (char** variable = environ; *variable != nullptr; ++variable)
        if (std::strncmp(*variable, TIME_VARIABLE, length) == 0 && (*variable)[length] == '=')
            return *variable + length + 1;
    return nullptr;
}

// Ends the program: by the machine's clock it would miss all that happens on the board.
[[noreturn]] void EndWithoutPage(const char* path, int error) {
    Kernel::Say({"velrix-board: cannot read the board's clock from ", path, ": ",
                 error == EINVAL ? "it is not such a file" : ::strerrordesc_np(error), "; has the board ended? Unset ",
                 TIME_VARIABLE, " to run programs without it\n"});
    ::_exit(126);
}

TimePage* Map(const char* path) {
    const int file = Kernel::Open(AT_FDCWD, path, O_RDWR | O_CLOEXEC);
    if (file < 0)
        EndWithoutPage(path, errno);
    struct stat status {};
    if (Kernel::Status(file, status) != 0 || status.st_size < static_cast<off_t>(sizeof(TimePage)))
        EndWithoutPage(path, EINVAL);
    void* const address = Kernel::MapShared(file, sizeof(TimePage));
    if (address == MAP_FAILED)
        EndWithoutPage(path, errno);
    Kernel::Close(file);
    auto* const page = static_cast<TimePage*>(address);
    if (page->mark != TimePage::MARK)
        EndWithoutPage(path, EINVAL);
    return page;
}

// The child of a fork is known to the board before it does anything.
void BeginInChild() {
    own = nullptr;
    owner.store(Kernel::Process());
    TimerFiles::ReleaseInChild();
    (void)OwnEntry(*current.load());
}

TimePage* Begin() {
    // Sanitizers call hooks before the C library has set environ.
    if (environ == nullptr)
        return nullptr;
    const Kernel::KeptErrno kept;
    const char* const path = PagePath();
    TimePage* const page = path != nullptr ? Map(path) : nullptr;
    if (page != nullptr) {
        RememberEnvironment(TIME_VARIABLE, path);
        owner.store(Kernel::Process());
    }
    TimePage* expected = nullptr;
    // Race of several first threads: one wins; the other mapping stays unused.
    if (page != nullptr && current.compare_exchange_strong(expected, page))
        ::pthread_atfork(nullptr, nullptr, BeginInChild);
    isDecided.store(true, std::memory_order_release);
    return current.load(std::memory_order_acquire);
}

// Threads that ended leave their entries behind; the board frees them now and then.
bool IsGone(const ThreadEntry& entry) {
    return Kernel::IsGone(entry.process.load(), entry.thread.load());
}

bool Take(ThreadEntry& entry, std::int32_t expected, std::int32_t process, std::int32_t thread) {
    if (!entry.thread.compare_exchange_strong(expected, thread))
        return false;
    entry.kind.store(WaitKind::NONE);
    entry.process.store(process);
    return true;
}

ThreadEntry* Allocate(TimePage& page, std::int32_t process, std::int32_t thread) {
    const std::uint32_t used = std::min(page.usedEntries.load(), TimePage::ENTRIES);
    // After exec the main thread has an entry already. Another thread with that number has ended.
    for (std::uint32_t i = 0; i < used; ++i)
        if (page.entries[i].thread.load() == thread && page.entries[i].process.load() == process) {
            page.entries[i].kind.store(WaitKind::NONE);
            return &page.entries[i];
        }
    for (std::uint32_t i = 0; i < TimePage::ENTRIES; ++i) {
        if (page.entries[i].thread.load() != 0 || !Take(page.entries[i], 0, process, thread))
            continue;
        std::uint32_t before = page.usedEntries.load();
        while (before < i + 1 && !page.usedEntries.compare_exchange_weak(before, i + 1)) {
        }
        return &page.entries[i];
    }
    for (ThreadEntry& entry : page.entries) {
        const std::int32_t old = entry.thread.load();
        if (IsGone(entry) && Take(entry, old, process, thread))
            return &entry;
    }
    return nullptr;
}

// The POSIX timers of the program that was executed before this one in the same process: they end with it.
void EndTimers(TimePage& page) {
    const auto process = static_cast<std::int32_t>(Kernel::Process());
    for (SignalTimer& timer : page.timers) {
        std::uint32_t state = timer.state.load();
        if (timer.process.load() != process || timer.code.load() != SI_TIMER ||
            (state != SignalTimer::ARMED && state != SignalTimer::DISARMED) ||
            !timer.state.compare_exchange_strong(state, SignalTimer::BEING_CHANGED))
            continue;
        timer.process.store(0);
        timer.state.store(SignalTimer::FREE);
    }
}

// A program that never asks for the time is known to the board by this entry.
__attribute__((constructor)) void BeginTime() {
    TimePage* const page = Page();
    if (page == nullptr)
        return;
    (void)OwnEntry(*page);
    EndTimers(*page);
}

} // namespace

TimePage* Page() {
    return isDecided.load(std::memory_order_acquire) ? current.load(std::memory_order_acquire) : Begin();
}

ThreadEntry* OwnEntry(TimePage& page) {
    const Kernel::KeptErrno kept;
    // The child of a fork begins with its parent's.
    const auto process = static_cast<std::int32_t>(Kernel::Process());
    if (own == nullptr || own->process.load() != process)
        own = Allocate(page, process, static_cast<std::int32_t>(Kernel::Thread()));
    return own;
}

bool IsOwnMemory() {
    const pid_t process = owner.load();
    return process == 0 || process == Kernel::Process();
}

void NoteUnserved(TimePage& page, Unserved what) {
    const auto process = static_cast<std::int32_t>(Kernel::Process());
    const std::uint32_t known = std::min(page.uses.load(), TimePage::USES);
    for (std::uint32_t i = 0; i < known; ++i)
        if (page.unserved[i].process.load() == process && page.unserved[i].what.load() == what)
            return;
    const std::uint32_t place = page.uses.fetch_add(1);
    if (place < TimePage::USES) {
        page.unserved[place].what.store(what);
        page.unserved[place].process.store(process);
        return;
    }
    // The table is full: in the place of a process that has ended.
    for (UnservedUse& use : page.unserved) {
        std::int32_t old = use.process.load();
        if (old == process || !Kernel::IsGone(old, old) || !use.process.compare_exchange_strong(old, 0))
            continue;
        use.what.store(what);
        use.process.store(process);
        return;
    }
}

ClockKind KindOf(clockid_t clock) {
    switch (clock) {
    case CLOCK_REALTIME:
    case CLOCK_REALTIME_COARSE:
    case CLOCK_REALTIME_ALARM:
    case CLOCK_TAI:
        return ClockKind::WALL;
    case CLOCK_MONOTONIC:
    case CLOCK_MONOTONIC_RAW:
    case CLOCK_MONOTONIC_COARSE:
    case CLOCK_BOOTTIME:
    case CLOCK_BOOTTIME_ALARM:
        return ClockKind::MONOTONIC;
    default:
        return ClockKind::OTHER;
    }
}

std::int64_t Now(const TimePage& page, bool isWall) {
    return page.now.load() + (isWall ? page.wallBase.load() : page.monotonicBase);
}

std::int64_t Read(TimePage& page, bool isWall) {
    page.now.fetch_add(READING_NS);
    return Now(page, isWall);
}

namespace {

std::int64_t Sum(time_t seconds, std::int64_t nanoseconds) {
    constexpr std::int64_t MOST = NEVER / NANOSECONDS;
    return seconds < 0 ? 0 : seconds >= MOST ? NEVER : seconds * NANOSECONDS + nanoseconds;
}

} // namespace

std::int64_t ToNanoseconds(const timespec& time) {
    return Sum(time.tv_sec, time.tv_nsec);
}

std::int64_t ToNanoseconds(const timeval& time) {
    return Sum(time.tv_sec, time.tv_usec * 1000);
}

timespec ToTimespec(std::int64_t nanoseconds) {
    std::int64_t seconds = nanoseconds / NANOSECONDS, rest = nanoseconds % NANOSECONDS;
    if (rest < 0) { // before 1970
        --seconds;
        rest += NANOSECONDS;
    }
    return {static_cast<time_t>(seconds), static_cast<long>(rest)};
}

bool IsValid(const timespec& time) {
    return time.tv_sec >= 0 && time.tv_nsec >= 0 && time.tv_nsec < NANOSECONDS;
}

Deadline After(const TimePage& page, std::int64_t nanoseconds) {
    const std::int64_t now = Now(page, false);
    return {nanoseconds >= NEVER - now ? NEVER : now + nanoseconds, false};
}

bool IsDue(const TimePage& page, const Deadline& deadline) {
    return Left(page, deadline) == 0;
}

std::int64_t Left(const TimePage& page, const Deadline& deadline) {
    return deadline.time == NEVER ? NEVER : std::max<std::int64_t>(deadline.time - Now(page, deadline.isWall), 0);
}

} // namespace VelrixBoard::Preload::Time
