// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <ctime>

#include <poll.h>

#include "board/preload/Time.h"

// Waits by the board's clock.
namespace VelrixBoard::Preload::Time {

// Describes the calling thread's wait to the board as long as the object lives. Waits nest where a signal handler
// waits.
class Wait final {
public:
    struct What {
        WaitKind kind;
        TimedCall call;
        Deadline deadline;
        std::uint64_t condition = 0;
        std::uint32_t wakeName = 0;
    };

    Wait(TimePage& timePage, ThreadEntry& ownEntry, const What& what);
    Wait(const Wait&) = delete;
    Wait& operator=(const Wait&) = delete;
    ~Wait() { (void)End(); }

    // Sleeps until somebody changes the word, or a signal handler has run: then false. A cancellation point on request.
    // A cancelled thread waits no more.
    bool Sleep(bool isCancellable);

    // The flags of WaitWord that the word got. No more come.
    std::uint32_t End();

private:
    TimePage& page;
    ThreadEntry& entry;
    std::uint32_t armed;
    bool hasEnded = false;
    std::uint32_t flags = 0;

    // The wait that this one interrupted.
    What outer{};
    std::uint32_t outerWord = 0;
    std::uint64_t outerTicket = 0;
};

// Sleeps until then: 0, or EINTR after a signal handler. A cancellation point. -1: the page has no room for the thread.
int SleepUntil(TimePage& page, const Deadline& deadline);

// Calls attempt, which does not wait, until its result differs from again, or until then: timedOut.
template <class Attempt>
auto Retry(TimePage& page, TimedCall call, const Deadline& deadline, bool endsBySignal, Attempt attempt) -> int {
    // attempt: 0 and positive error numbers are results; AGAIN is none.
    bool hasWaited = false;
    for (;;) {
        const int result = attempt();
        if (result != EAGAIN) {
            if (hasWaited)
                page.progress.fetch_add(1);
            return result;
        }
        ThreadEntry* const entry = OwnEntry(page);
        if (entry == nullptr)
            return EAGAIN;
        if (IsDue(page, deadline))
            return ETIMEDOUT;
        Wait wait(page, *entry, {WaitKind::RETRY, call, deadline});
        hasWaited = true;
        if (!wait.Sleep(endsBySignal) && endsBySignal)
            return EINTR;
    }
}

// Waits for the descriptors and this process's timer descriptors as poll does; a deadline that is NEVER is none. -1 and
// errno like poll.
int Poll(TimePage& page, TimedCall call, pollfd* waits, nfds_t count, const Deadline& deadline,
         const sigset_t* signals);

// Wakes the threads of this process that poll, since their timer descriptors have changed, or those of all processes,
// since the wall clock has.
void WakePolls(TimePage& page, bool areAll = false);

} // namespace VelrixBoard::Preload::Time
