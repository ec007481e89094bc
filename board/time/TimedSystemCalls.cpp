// SPDX-License-Identifier: Apache-2.0
#include "board/time/TimedSystemCalls.h"

#include <cstddef>

#include <sys/syscall.h>

namespace VelrixBoard {

namespace {

// How a call is given its limit.
enum class Limit {
    ALWAYS,       // it does nothing else
    POINTER,      // an address; 0 is no limit
    MILLISECONDS, // a number; negative is no limit
};

struct TimedCallRow {
    long number;
    const char* name;
    Limit limit;
    std::size_t argument;
};

constexpr TimedCallRow CALLS[] = {
    {SYS_nanosleep, "nanosleep", Limit::ALWAYS, 0},
    {SYS_clock_nanosleep, "clock_nanosleep", Limit::ALWAYS, 0},
    {SYS_restart_syscall, "restart_syscall", Limit::ALWAYS, 0}, // a wait with a limit that was stopped and goes on
// Which of them a machine has, differs.
#ifdef SYS_poll
    {SYS_poll, "poll", Limit::MILLISECONDS, 2},
#endif
#ifdef SYS_select
    {SYS_select, "select", Limit::POINTER, 4},
#endif
#ifdef SYS_epoll_wait
    {SYS_epoll_wait, "epoll_wait", Limit::MILLISECONDS, 3},
#endif
    {SYS_ppoll, "ppoll", Limit::POINTER, 2},
    {SYS_pselect6, "pselect6", Limit::POINTER, 4},
    {SYS_epoll_pwait, "epoll_pwait", Limit::MILLISECONDS, 3},
    {SYS_epoll_pwait2, "epoll_pwait2", Limit::POINTER, 3},
    {SYS_futex, "futex", Limit::POINTER, 3},
    {SYS_rt_sigtimedwait, "rt_sigtimedwait", Limit::POINTER, 2},
    {SYS_semtimedop, "semtimedop", Limit::POINTER, 3},
    {SYS_mq_timedreceive, "mq_timedreceive", Limit::POINTER, 4},
    {SYS_mq_timedsend, "mq_timedsend", Limit::POINTER, 4},
    {SYS_recvmmsg, "recvmmsg", Limit::POINTER, 4},
    {SYS_io_getevents, "io_getevents", Limit::POINTER, 4},
#ifdef SYS_futex_waitv
    {SYS_futex_waitv, "futex_waitv", Limit::POINTER, 3},
#endif
};

bool HasLimit(const TimedCallRow& row, const ProgramThread& thread) {
    const std::uint64_t argument = thread.arguments[row.argument];
    switch (row.limit) {
    case Limit::ALWAYS:
        return true;
    case Limit::POINTER:
        return argument != 0;
    case Limit::MILLISECONDS:
        return static_cast<std::int32_t>(argument) >= 0;
    }
    return false;
}

} // namespace

const char* TimedSystemCall(const ProgramThread& thread) {
    for (const TimedCallRow& row : CALLS)
        if (row.number == thread.call && HasLimit(row, thread))
            return row.name;
    return nullptr;
}

} // namespace VelrixBoard
