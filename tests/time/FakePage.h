// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include <sys/syscall.h>

#include "board/preload/TimePage.h"
#include "tests/time/FakeProgramThreads.h"

namespace VelrixBoard {

// A page as programs fill it, with the threads that they have.
struct FakePage {
    static constexpr std::int64_t MONOTONIC_BASE = 1'000'000'000, WALL_BASE = 5'000'000'000;

    FakePage() {
        page->monotonicBase = MONOTONIC_BASE;
        page->wallBase.store(WALL_BASE);
    }

    // A thread of process 100 that waits until then, by the board's time.
    Preload::ThreadEntry& Wait(pid_t thread, std::int64_t untilNs, Preload::WaitKind kind = Preload::WaitKind::FUTEX) {
        threads.threads.push_back({100, thread, 0, true, kind == Preload::WaitKind::POLL ? SYS_ppoll : SYS_futex, {}});
        Preload::ThreadEntry& entry = page->entries[page->usedEntries.fetch_add(1)];
        entry.thread.store(thread);
        entry.process.store(100);
        WaitAgain(entry, untilNs, kind);
        return entry;
    }

    void WaitAgain(Preload::ThreadEntry& entry, std::int64_t untilNs,
                   Preload::WaitKind kind = Preload::WaitKind::FUTEX) {
        entry.ticket.store(page->lastTicket.fetch_add(1) + 1);
        entry.word.store(Preload::WaitWord::Armed(entry.ticket.load()));
        entry.deadline.store(untilNs == Preload::NEVER ? untilNs : untilNs + MONOTONIC_BASE);
        entry.isWall.store(0);
        entry.kind.store(kind);
    }

    // The thread sleeps in another system call, in no wait of the page.
    void SleepElsewhere(Preload::ThreadEntry& entry, long call) {
        for (ProgramThread& thread : threads.threads)
            if (thread.number == entry.thread.load())
                thread.call = call;
    }

    static bool IsWoken(const Preload::ThreadEntry& entry) {
        return (entry.word.load() & Preload::WaitWord::WOKEN) != 0;
    }

    std::unique_ptr<Preload::TimePage> page = std::make_unique<Preload::TimePage>();
    FakeProgramThreads threads;
};

} // namespace VelrixBoard
