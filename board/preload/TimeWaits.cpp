// SPDX-License-Identifier: Apache-2.0
#include "board/preload/TimeWaits.h"

#include <algorithm>
#include <cstring>

#include <pthread.h>

#include "board/preload/Kernel.h"
#include "board/preload/Next.h"
#include "board/preload/Relax.h"
#include "board/preload/TimerFiles.h"
#include "board/preload/WakeSockets.h"

namespace VelrixBoard::Preload::Time {

namespace {

constinit Next<int(pollfd*, nfds_t, const timespec*, const sigset_t*)> nextPpoll{"ppoll"};

// The limit of wake-ups that turn out to be too early, one for each time that a timer of the process expires.
constexpr int MOST_WAKES = 1'000'000'000;

// Waits without the kernel while the board is about to end the wait: to fall asleep and to be woken on another
// processor costs more than a tick of a program. On a machine so busy that this fails, it is tried less and less often.
class QuickWait final {
public:
    void Try(const TimePage& page, const std::atomic<std::uint32_t>& word, std::uint32_t armed) {
        if (left > 0) {
            --left;
            return;
        }
        for (int i = 0; i < LOOKS; ++i) {
            if (page.isQuick.load(std::memory_order_relaxed) == 0)
                return;
            if (word.load() != armed) {
                pause = 0;
                return;
            }
            Relax();
        }
        pause = std::min(2 * pause + 1, LONGEST_PAUSE);
        left = pause;
    }

private:
    static constexpr int LOOKS = 64; // some 40 us
    static constexpr int LONGEST_PAUSE = 255;

    int pause = 0; // waits without a try after one that failed
    int left = 0;
};

// Initial-exec, so that a signal handler may be the first to use it.
__attribute__((tls_model("initial-exec"))) constinit thread_local QuickWait quickWait;

// In a cancelled thread.
void EndWait(void* wait) {
    (void)static_cast<Wait*>(wait)->End();
}

} // namespace

Wait::Wait(TimePage& timePage, ThreadEntry& ownEntry, const What& what) : page(timePage), entry(ownEntry) {
    outer.kind = entry.kind.exchange(WaitKind::NONE);
    if (outer.kind != WaitKind::NONE) {
        outer = {outer.kind,
                 entry.call.load(),
                 {entry.deadline.load(), entry.isWall.load() != 0},
                 entry.condition.load(),
                 entry.wakeName.load()};
        outerWord = entry.word.load();
        outerTicket = entry.ticket.load();
    }
    const std::uint64_t ticket = page.lastTicket.fetch_add(1) + 1;
    armed = WaitWord::Armed(ticket);
    entry.word.store(armed);
    entry.ticket.store(ticket);
    entry.call.store(what.call);
    entry.deadline.store(what.deadline.time);
    entry.isWall.store(what.deadline.isWall ? 1 : 0);
    entry.condition.store(what.condition);
    entry.wakeName.store(what.wakeName);
    entry.kind.store(what.kind);
}

bool Wait::Sleep(bool isCancellable) {
    const Kernel::KeptErrno kept;
    quickWait.Try(page, entry.word, armed);
    if (!isCancellable)
        return Kernel::FutexWait(entry.word, armed) == 0 || errno != EINTR;
    int before = 0;
    bool isInterrupted = false;
    pthread_cleanup_push(EndWait, this);
    ::pthread_testcancel();
    ::pthread_setcanceltype(PTHREAD_CANCEL_ASYNCHRONOUS, &before);
    isInterrupted = Kernel::FutexWait(entry.word, armed) != 0 && errno == EINTR;
    ::pthread_setcanceltype(before, nullptr);
    pthread_cleanup_pop(0);
    return !isInterrupted;
}

std::uint32_t Wait::End() {
    if (hasEnded)
        return flags;
    hasEnded = true;
    entry.kind.store(WaitKind::NONE);
    flags = entry.word.exchange(0) & WaitWord::FLAGS;
    if (outer.kind == WaitKind::NONE)
        return flags;
    // What came for the outer wait meanwhile was missed, so that ends now and looks for itself.
    entry.ticket.store(outerTicket);
    entry.call.store(outer.call);
    entry.deadline.store(outer.deadline.time);
    entry.isWall.store(outer.deadline.isWall ? 1 : 0);
    entry.condition.store(outer.condition);
    entry.wakeName.store(outer.wakeName);
    entry.word.store(outerWord | WaitWord::REPLACED);
    entry.kind.store(outer.kind);
    return flags;
}

int SleepUntil(TimePage& page, const Deadline& deadline) {
    for (int i = 0; i < MOST_WAKES && !IsDue(page, deadline); ++i) {
        ThreadEntry* const entry = OwnEntry(page);
        if (entry == nullptr)
            return -1;
        Wait wait(page, *entry, {WaitKind::FUTEX, TimedCall::SLEEP, deadline});
        if (!wait.Sleep(true))
            return EINTR;
    }
    return 0;
}

namespace {

struct Cleanup {
    WakeSocket* socket;
    Kernel::Memory* memory;
};

// In a cancelled thread.
void GiveBack(void* cleanup) {
    static_cast<Cleanup*>(cleanup)->socket->~WakeSocket();
    static_cast<Cleanup*>(cleanup)->memory->~Memory();
}

// Once; whether the caller looks again. A thread without an entry waits by the machine's clock.
bool PollOnce(TimePage& page, const Wait::What& what, pollfd* asked, nfds_t count, const sigset_t* signals,
              int& result) {
    ThreadEntry* const entry = OwnEntry(page);
    if (entry == nullptr) {
        const timespec left = ToTimespec(Left(page, what.deadline));
        result = nextPpoll(asked, count + 1, &left, signals);
    } else {
        Wait wait(page, *entry, what);
        pthread_cleanup_push(EndWait, &wait);
        result = nextPpoll(asked, count + 1, nullptr, signals);
        pthread_cleanup_pop(0);
    }
    if (result < 0)
        return false;
    if (asked[count].revents != 0) {
        --result;
        WakeSocket::Drain(asked[count].fd);
    }
    return result == 0;
}

Deadline Sooner(const Deadline& one, const Deadline& other, TimePage& page) {
    return Left(page, one) <= Left(page, other) ? one : other;
}

} // namespace

int Poll(TimePage& page, TimedCall call, pollfd* waits, nfds_t count, const Deadline& deadline,
         const sigset_t* signals) {
    constexpr timespec NOW{};
    constexpr nfds_t FEW = 64;
    pollfd few[FEW + 1];
    Kernel::Memory memory;
    if (count > FEW)
        memory.Replace((count + 1) * sizeof(pollfd));
    if (count > FEW && !memory.IsThere()) {
        errno = ENOMEM;
        return -1;
    }
    pollfd* const asked = count > FEW ? memory.As<pollfd>() : few;
    std::copy_n(waits, count, asked);
    WakeSocket socket;
    if (socket.Descriptor() < 0) { // none left: by the machine's clock, which the board notices
        const timespec left = ToTimespec(Left(page, deadline));
        return nextPpoll(waits, count, deadline.time == NEVER ? nullptr : &left, signals);
    }
    asked[count] = {socket.Descriptor(), POLLIN, 0};
    int result = 0;
    Cleanup cleanup{&socket, &memory};
    pthread_cleanup_push(GiveBack, &cleanup);
    for (int i = 0; i < MOST_WAKES; ++i) {
        TimerFiles::Fire(page);
        result = nextPpoll(asked, count, &NOW, signals);
        if (result != 0 || IsDue(page, deadline))
            break;
        const Deadline soonest = Sooner(deadline, TimerFiles::Next(page), page);
        if (IsDue(page, soonest))
            continue;
        if (!PollOnce(page, {WaitKind::POLL, call, soonest, 0, socket.Name()}, asked, count, signals, result))
            break;
    }
    pthread_cleanup_pop(0);
    for (nfds_t i = 0; result >= 0 && i < count; ++i)
        waits[i].revents = asked[i].revents;
    return result;
}

void WakePolls(TimePage& page, bool areAll) {
    const Kernel::KeptErrno kept;
    const ThreadEntry* const own = OwnEntry(page);
    if (own == nullptr)
        return;
    const std::uint32_t used = std::min(page.usedEntries.load(), TimePage::ENTRIES);
    for (std::uint32_t i = 0; i < used; ++i) {
        const ThreadEntry& entry = page.entries[i];
        if (entry.kind.load() == WaitKind::POLL && (areAll || entry.process.load() == own->process.load()))
            WakeSocket::Wake(entry.wakeName.load());
    }
}

} // namespace VelrixBoard::Preload::Time
