// SPDX-License-Identifier: Apache-2.0
#include <System/Threading/Thread.h>

#include <cerrno>

#include <time.h>

namespace System::Threading {

void Thread::USleep(unsigned long long microseconds) {
    constexpr unsigned long long MICROSECONDS_PER_SECOND = 1'000'000;
    timespec rest{};
    rest.tv_sec = static_cast<time_t>(microseconds / MICROSECONDS_PER_SECOND);
    rest.tv_nsec = static_cast<long>(microseconds % MICROSECONDS_PER_SECOND * 1000);
    // By the monotonic clock; continues after a signal handler.
    while (::clock_nanosleep(CLOCK_MONOTONIC, 0, &rest, &rest) == EINTR) {
    }
}

} // namespace System::Threading
