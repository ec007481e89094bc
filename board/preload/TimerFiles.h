// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

#include <sys/types.h>

#include "board/preload/Time.h"

// This process's timer descriptors by the board's clock. Each is an eventfd, which reads and polls the same; the
// threads that wait for descriptors give it its expirations when they are due.
namespace VelrixBoard::Preload::TimerFiles {

// Gives all timers that are due their expirations.
void Fire(TimePage& page);

// When the next one is due.
Time::Deadline Next(TimePage& page);

// A read of a timer that may block. False for other descriptors, and for one that does not block, which has its
// expirations now: then the caller reads.
bool Read(int descriptor, void* buffer, std::size_t size, ssize_t& result);

// In the child of a fork: no other thread changes a timer.
void ReleaseInChild();

// The descriptor is closed or replaced.
void Forget(int descriptor);
void Forget(unsigned first, unsigned last);

} // namespace VelrixBoard::Preload::TimerFiles
