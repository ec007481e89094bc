// SPDX-License-Identifier: Apache-2.0
// Hooks for system calls that programs make by the C library's syscall, as runtimes of languages do for futexes; and
// for what the board's clock does not reach.
#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <ctime>

#include <linux/futex.h>
#include <sys/socket.h>
#include <sys/syscall.h>

#include "board/preload/Next.h"
#include "board/preload/Preloaded.h"
#include "board/preload/TimeWaits.h"

namespace VelrixBoard::Preload {

namespace {

constinit Next<long(long, ...)> nextSystemCall{"syscall"};
constinit Next<int(int, int, int, const void*, socklen_t)> nextSetSocketOption{"setsockopt"};
constinit Next<int(int, sockaddr*, socklen_t*)> nextAccept{"accept"};
constinit Next<int(int, sockaddr*, socklen_t*, int)> nextAccept4{"accept4"};

// Waits while the word has the value: 0 or an error number. Who changes the word without a wake-up, or wakes without a
// change, is noticed at the end of the limit; no runtime does either.
int FutexWait(TimePage& page, const std::atomic<std::uint32_t>& word, std::uint32_t value,
              const Time::Deadline& deadline) {
    bool isFirst = true;
    return Time::Retry(page, TimedCall::FUTEX, deadline, true, [&] {
        if (word.load() == value) {
            isFirst = false;
            return EAGAIN;
        }
        return isFirst ? -EAGAIN : 0;
    });
}

long Fail(int error) {
    errno = error < 0 ? -error : error;
    return -1;
}

constexpr long ARGUMENTS = 6;

// Whether the call is one that waits for a futex with a limit.
bool IsTimedFutex(const long (&arguments)[ARGUMENTS]) {
    const long command = arguments[1] & FUTEX_CMD_MASK;
    return arguments[3] != 0 && (command == FUTEX_WAIT || command == FUTEX_WAIT_BITSET);
}

long WaitForFutex(TimePage& page, const long (&arguments)[ARGUMENTS]) {
    const auto& time = *reinterpret_cast<const timespec*>(arguments[3]);
    if (!Time::IsValid(time))
        return Fail(EINVAL);
    const bool isAbsolute = (arguments[1] & FUTEX_CMD_MASK) == FUTEX_WAIT_BITSET;
    const bool isWall = (arguments[1] & FUTEX_CLOCK_REALTIME) != 0;
    const Time::Deadline deadline =
        isAbsolute ? Time::Deadline{Time::ToNanoseconds(time), isWall} : Time::After(page, Time::ToNanoseconds(time));
    const int error = FutexWait(page, *reinterpret_cast<const std::atomic<std::uint32_t>*>(arguments[0]),
                                static_cast<std::uint32_t>(arguments[2]), deadline);
    return error == 0 ? 0 : Fail(error);
}

int Connected(int socket) {
    int family = AF_UNSPEC;
    socklen_t size = sizeof family;
    TimePage* const page = socket >= 0 ? Time::Page() : nullptr;
    if (page != nullptr && ::getsockopt(socket, SOL_SOCKET, SO_DOMAIN, &family, &size) == 0 &&
        (family == AF_INET || family == AF_INET6))
        Time::NoteUnserved(*page, Unserved::CONNECTION);
    return socket;
}

} // namespace

} // namespace VelrixBoard::Preload

using namespace VelrixBoard::Preload;

// This library's own: a program may have functions of the C library's names that are made of system calls.
extern "C" __attribute__((visibility("hidden"))) int velrix_own_nanosleep(const timespec* time, timespec* left);
extern "C" __attribute__((visibility("hidden"))) int velrix_own_clock_nanosleep(clockid_t clock, int flags,
                                                                                const timespec* time, timespec* left);

VELRIX_PRELOADED(long, syscall, long number, ...) {
    long arguments[ARGUMENTS];
    va_list rest;
    va_start(rest, number);
    for (long& argument : arguments)
        argument = va_arg(rest, long);
    va_end(rest);
    const auto clock = static_cast<clockid_t>(arguments[0]);
    switch (number) {
    case SYS_clock_gettime: {
        const Time::ClockKind kind = Time::KindOf(clock);
        TimePage* const page = kind != Time::ClockKind::OTHER ? Time::Page() : nullptr;
        if (page == nullptr)
            break;
        *reinterpret_cast<timespec*>(arguments[1]) = Time::ToTimespec(Time::Read(*page, kind == Time::ClockKind::WALL));
        return 0;
    }
    case SYS_nanosleep:
        if (Time::Page() == nullptr)
            break;
        return velrix_own_nanosleep(reinterpret_cast<const timespec*>(arguments[0]),
                                    reinterpret_cast<timespec*>(arguments[1]));
    case SYS_clock_nanosleep: {
        if (Time::Page() == nullptr)
            break;
        const int error = velrix_own_clock_nanosleep(clock, static_cast<int>(arguments[1]),
                                                     reinterpret_cast<const timespec*>(arguments[2]),
                                                     reinterpret_cast<timespec*>(arguments[3]));
        return error == 0 ? 0 : Fail(error);
    }
    case SYS_futex: {
        TimePage* const page = IsTimedFutex(arguments) ? Time::Page() : nullptr;
        if (page != nullptr)
            return WaitForFutex(*page, arguments);
        break;
    }
    default:
        break;
    }
    return nextSystemCall(number, arguments[0], arguments[1], arguments[2], arguments[3], arguments[4], arguments[5]);
}

VELRIX_PRELOADED(int, setsockopt, int socket, int level, int option, const void* value, socklen_t size) {
    const bool isLimit = level == SOL_SOCKET && (option == SO_RCVTIMEO || option == SO_SNDTIMEO);
    TimePage* const page = isLimit ? Time::Page() : nullptr;
    if (page != nullptr)
        Time::NoteUnserved(*page, Unserved::SOCKET_LIMIT);
    return nextSetSocketOption(socket, level, option, value, size);
}

VELRIX_PRELOADED(int, accept, int socket, sockaddr* address, socklen_t* size) {
    return Connected(nextAccept(socket, address, size));
}
VELRIX_PRELOADED(int, accept4, int socket, sockaddr* address, socklen_t* size, int flags) {
    return Connected(nextAccept4(socket, address, size, flags));
}
