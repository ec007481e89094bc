// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <ctime>

#include <sys/time.h>

#include "board/preload/TimePage.h"

// The board's clock in this process, and the calling thread's entry in the page.
namespace VelrixBoard::Preload::Time {

constexpr std::int64_t NANOSECONDS = 1'000'000'000;

// Null in a program that has the machine's time. Ends the program when the page cannot be had.
TimePage* Page();

// The calling thread's entry; null when there are too many threads. Costs a system call.
ThreadEntry* OwnEntry(TimePage& page);

// False in a child of vfork or clone, which may share its parent's memory.
bool IsOwnMemory();

// Tells the board, once a process and kind.
void NoteUnserved(TimePage& page, Unserved what);

// Whether CLOCK_REALTIME and its kin, or CLOCK_MONOTONIC and its kin; neither for clocks of processor time.
enum class ClockKind { WALL, MONOTONIC, OTHER };
ClockKind KindOf(clockid_t clock);

// The time by that clock.
std::int64_t Now(const TimePage& page, bool isWall);

// The same for a program that asks, which takes READING_NS: so a loop that looks at the clock comes to its end, after
// as many looks on every machine.
std::int64_t Read(TimePage& page, bool isWall);
constexpr std::int64_t READING_NS = 1'000;

// A moment by one of the two clocks.
struct Deadline {
    std::int64_t time = NEVER;
    bool isWall = false;
};

// Sums end at NEVER; times before 0 have passed as that has.
std::int64_t ToNanoseconds(const timespec& time);
std::int64_t ToNanoseconds(const timeval& time);
timespec ToTimespec(std::int64_t nanoseconds);
bool IsValid(const timespec& time);
Deadline After(const TimePage& page, std::int64_t nanoseconds);
bool IsDue(const TimePage& page, const Deadline& deadline);
std::int64_t Left(const TimePage& page, const Deadline& deadline);

} // namespace VelrixBoard::Preload::Time
