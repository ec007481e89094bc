// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "board/base/Clock.h"
#include "board/base/FileDescriptor.h"
#include "board/preload/TimePage.h"
#include "board/time/IProgramThreads.h"

namespace VelrixBoard {

// The board's side of the waits and timers that programs describe in the page. Times are the board's.
class TimedWaits final {
public:
    TimedWaits(Preload::TimePage& timePage, IProgramThreads& programThreads);

    BoardTime Now() const { return BoardTime(page.now.load()); }
    void Advance(BoardTime to); // never back
    void ChangeWallClock(const WallClockChange& change);

    // The program waits before it begins until the board knows of it.
    void LetBegin(bool may);

    // Lets the time keep up with threads that have used more processor time than time has passed since all slept last:
    // 25 ms more, as less differs from run to run.
    void Account();

    // After AreAsleep was true: frees the entries of threads that have ended, and remembers which waits threads sleep
    // in.
    void Match();

    // The rest is about those waits.

    // Wakes the threads that try again for what another one may have given them since the last call. False: none.
    bool WakeRetries();

    // Wakes the thread or sends the signal that is due first. Nothing: none. Gives the ticket of a wait, 0 for a
    // signal.
    std::optional<std::uint64_t> WakeFirst();

    // The soonest deadline; nothing: none.
    std::optional<BoardTime> Soonest() const;

    // What a thread waits in, although it ends by another clock; nothing: none does.
    std::optional<std::string> FindUnserved() const;

    // "thread 12 of gateway (process 11) waits for a sleep", the one with the ticket, or all; a limited number.
    std::string Describe(std::optional<std::uint64_t> ticket = std::nullopt) const;

    // Whether the thread that WakeFirst woke last waits again: a hint that spares looks.
    bool HasWokenReturned() const;

    // Whether all sleep, without a look at the threads: the single thread that there was has begun another wait, for a
    // time alone, and got no signal. Nobody but the board can end that, so it does nothing more, even before it sleeps.
    // If so, takes that wait for the one it sleeps in, as Match does.
    bool MatchSingle();

    // Before a program gets a signal, whose handler runs in the midst of a wait. Waits, for a limited time, until a
    // single thread that has begun a wait sleeps: the signal would not end that otherwise.
    void OnSignal();

    // Tells the only thread, if it is alone and waits for a time, that the board looks out for it: its waits end within
    // microseconds, too soon to fall asleep.
    void LetBeQuick(bool may);
    bool IsQuick() const { return page.isQuick.load() != 0; }

    // Without a look before: wakes all threads whose time has come, and those that try again.
    void WakeAllDue();

private:
    struct Sleeper {
        Preload::ThreadEntry* entry;
        std::uint64_t ticket;
        const ProgramThread* thread;
    };

    // Of a thread, since it was first seen to run.
    struct Burst {
        std::uint64_t spent; // processor time, then
        BoardTime begin;
        bool isCounted = false;
    };

    Preload::ThreadEntry* Find(std::size_t thread);
    bool IsSingleArmed() const;
    void FreeEnded();
    std::optional<BoardTime> DueOf(std::int64_t deadline, bool isWall) const;
    std::optional<BoardTime> DueOf(const Preload::ThreadEntry& entry) const;
    Preload::SignalTimer* FirstTimer(std::optional<BoardTime>& due) const;
    void Wake(Preload::ThreadEntry& entry, std::uint64_t ticket) const;
    void Fire(Preload::SignalTimer& timer);
    void FreeTimers() const;
    std::optional<std::string> UnservedUse() const;

    Preload::TimePage& page;
    IProgramThreads& threads;
    FileDescriptor socket; // unbound, for datagrams to threads that poll
    std::vector<Sleeper> sleepers;
    std::vector<const ProgramThread*> others;   // that sleep in no wait of the page
    std::vector<Preload::ThreadEntry*> entries; // of the threads, where they were found last
    std::map<std::pair<pid_t, pid_t>, Burst> bursts;
    const Preload::ThreadEntry* woken = nullptr;
    std::uint64_t wokenTicket = 0;
    bool hasSignalled = false;       // since Match
    std::uint64_t lastSignature = 0; // of what ran before the last retries
};

} // namespace VelrixBoard
