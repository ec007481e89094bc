// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <limits>

// The memory that a board with its own time shares with its programs: the clock, and who waits for what.
//
// An environment variable names the file. Each thread that waits owns one entry and describes its wait there; the board
// reads the entries, moves the clock and wakes threads.
namespace VelrixBoard::Preload {

// The environment variable with the path of the file. Without it programs have the machine's time.
inline constexpr const char* TIME_VARIABLE = "VELRIX_BOARD_TIME";

// What a thread waits in, for messages.
enum class TimedCall : std::uint32_t {
    SLEEP,
    POLL,
    SELECT,
    EPOLL,
    CONDITION,
    MUTEX,
    READ_WRITE_LOCK,
    SEMAPHORE,
    FUTEX,
    SIGNAL,
    QUEUE,
    THREAD_END,
    TIMER_FILE
};
inline constexpr const char* TIMED_CALL_NAMES[] = {
    "a sleep",           "poll",        "select",  "epoll_wait", "a condition variable", "a mutex",
    "a read-write lock", "a semaphore", "a futex", "a signal",   "a message queue",      "the end of a thread",
    "a timer descriptor"};

// How the board wakes the thread.
enum class WaitKind : std::uint32_t {
    NONE,  // the thread does not wait in a call of the library
    FUTEX, // sleeps on word
    POLL,  // sleeps in ppoll, which has the socket of that abstract name as well
    RETRY  // sleeps on word, and tries again each time another thread may have given it what it waits for
};

inline constexpr std::int64_t NEVER = std::numeric_limits<std::int64_t>::max();

// When a timer expires next that has expired that often since the deadline: NEVER for one without an interval, and
// where that lies beyond all times.
constexpr std::int64_t NextDeadline(std::int64_t deadline, std::int64_t interval, std::int64_t expirations) {
    return interval <= 0 || expirations <= 0 || interval > (NEVER - deadline) / expirations
               ? NEVER
               : deadline + expirations * interval;
}

// The states of word: ARMED plus the ticket while the thread sleeps; each of the others ends the sleep.
namespace WaitWord {
inline constexpr std::uint32_t TICKET_SHIFT = 3;
inline constexpr std::uint32_t WOKEN = 1;     // by the board
inline constexpr std::uint32_t SIGNALLED = 2; // by another thread, for a condition variable
inline constexpr std::uint32_t REPLACED = 4;  // a signal handler waited meanwhile
inline constexpr std::uint32_t FLAGS = 7;
constexpr std::uint32_t Armed(std::uint64_t ticket) {
    return static_cast<std::uint32_t>(ticket << TICKET_SHIFT) | 1U << 31;
}
} // namespace WaitWord

// One thread. The thread itself writes all fields but word, and sets kind last.
struct ThreadEntry {
    std::atomic<std::int32_t> thread;  // its number, as it sees it; 0: the entry is free
    std::atomic<std::int32_t> process; // the same
    std::atomic<WaitKind> kind;
    std::atomic<TimedCall> call;
    std::atomic<std::uint32_t> word;
    std::atomic<std::uint32_t> wakeName;  // of POLL: the five hexadecimal digits of an abstract address
    std::atomic<std::uint64_t> ticket;    // waits are numbered in the order in which they begin
    std::atomic<std::int64_t> deadline;   // in ns, by the clock that isWall names; NEVER
    std::atomic<std::uint64_t> condition; // the address of a condition variable
    std::atomic<std::uint32_t> isWall;
    std::atomic<std::uint32_t> reserved;
};

// A timer that sends a signal. The program writes it while state is BEING_CHANGED; the board sets deadline on expiry.
struct SignalTimer {
    enum State : std::uint32_t { FREE, BEING_CHANGED, DISARMED, ARMED };

    std::atomic<std::uint32_t> state;
    std::atomic<std::int32_t> process; // as it sees itself
    std::atomic<std::int32_t> thread;  // that gets the signal; 0: the process
    std::atomic<std::int32_t> signal;  // 0: none
    std::atomic<std::int32_t> code;    // si_code: SI_USER for alarm and setitimer, SI_TIMER
    std::atomic<std::int32_t> number;  // of a POSIX timer
    std::atomic<std::uint64_t> value;  // si_value
    std::atomic<std::int64_t> deadline;
    std::atomic<std::int64_t> interval; // 0: once
    std::atomic<std::uint32_t> isWall;
    std::atomic<std::uint32_t> reserved;
};

// What a program uses although the board's clock does not reach it.
enum class Unserved : std::uint32_t { TIMER_THREAD, SOCKET_LIMIT, CONNECTION };
inline constexpr const char* UNSERVED_NAMES[] = {
    "a timer that starts a thread (SIGEV_THREAD)",
    "a time limit of a socket (SO_RCVTIMEO or SO_SNDTIMEO)",
    "a TCP or UDP connection, whose other end has the machine's time",
};
struct UnservedUse {
    std::atomic<std::int32_t> process; // as it sees itself; set last
    std::atomic<Unserved> what;
};

struct TimePage {
    static constexpr std::uint64_t MARK = 0x3154'5856'0000'0001; // its last digits are the version of the layout
    static constexpr std::uint32_t ENTRIES = 1024;
    static constexpr std::uint32_t TIMERS = 128;
    static constexpr std::uint32_t USES = 64;

    std::uint64_t mark;
    std::int64_t monotonicBase;         // CLOCK_MONOTONIC is this and now
    std::atomic<std::int64_t> wallBase; // CLOCK_REALTIME is this and now; changes when somebody sets the clock
    std::atomic<std::int64_t> now;      // the time since the board's start, in ns
    std::atomic<std::uint64_t> lastTicket;
    std::atomic<std::uint64_t> progress;    // counts waits of RETRY that got what they waited for
    std::atomic<std::uint32_t> isStarted;   // the board knows that a program is about to begin
    std::atomic<std::uint32_t> isQuick;     // the board ends the waits of the only thread within microseconds
    std::atomic<std::uint32_t> usedEntries; // no entry from this one on was ever used
    std::atomic<std::uint32_t> liveEntries; // of threads that were there when the board looked for ended ones
    std::atomic<std::uint32_t> usedTimers;  // the same of timers
    std::atomic<std::uint32_t> uses;        // that were ever noted, also those beyond the table
    ThreadEntry entries[ENTRIES];
    SignalTimer timers[TIMERS];
    UnservedUse unserved[USES];
};

static_assert(std::atomic<std::int64_t>::is_always_lock_free && std::atomic<WaitKind>::is_always_lock_free);

} // namespace VelrixBoard::Preload
