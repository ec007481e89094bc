// SPDX-License-Identifier: Apache-2.0
// Hooks that close and duplicate descriptors. Protects the connections to the board from programs that close all
// descriptors from 3 on.
#include <climits>
#include <cstdarg>

#include <fcntl.h>
#include <unistd.h>

#include "board/preload/Connections.h"
#include "board/preload/Descriptors.h"
#include "board/preload/Next.h"
#include "board/preload/Path.h"
#include "board/preload/Preloaded.h"
#include "board/preload/Streams.h"
#include "board/preload/Time.h"
#include "board/preload/TimerFiles.h"
#include "board/preload/ValueFiles.h"
#include "board/preload/WakeSockets.h"

namespace VelrixBoard::Preload {

namespace {

constinit Next<int(int)> nextClose{"close"};
constinit Next<int(int)> nextDup{"dup"};
constinit Next<int(int, int)> nextDup2{"dup2"};
constinit Next<int(int, int, int)> nextDup3{"dup3"};
constinit Next<int(int, int, ...)> nextFcntl{"fcntl"};
constinit Next<int(unsigned, unsigned, int)> nextCloseRange{"close_range"};
constinit Next<void(int)> nextClosefrom{"closefrom"};

bool HasBoard() {
    return Names::Current() != nullptr || Time::Page() != nullptr;
}

bool IsOwn(int descriptor) {
    return Connections::IsOwn(descriptor) || WakeSocket::IsOwn(descriptor);
}

int LowestOwn(unsigned first, unsigned last) {
    const int connection = Connections::LowestIn(first, last), socket = WakeSocket::LowestIn(first, last);
    return connection < 0 || (socket >= 0 && socket < connection) ? socket : connection;
}

// Called before descriptor to is replaced.
void MakeWay(int to) {
    LeaveStandardStream(to);
    Connections::Forget(to);
    if (Time::IsOwnMemory())
        WakeSocket::Forget(to);
    TimerFiles::Forget(to);
    Descriptors::Clear(to);
}

int Duplicated(int from, int to) {
    if (to >= 0) {
        Descriptors::Copy(from, to);
        FollowStandardStream(to);
    }
    return to;
}

int CloseRange(unsigned first, unsigned last, int flags) {
    if (!HasBoard() || (flags & static_cast<int>(CLOSE_RANGE_CLOEXEC)) != 0 || first > last)
        return nextCloseRange(first, last, flags);
    Descriptors::Clear(first, last);
    TimerFiles::Forget(first, last);
    int result = 0;
    for (int own = 0; result == 0 && (own = LowestOwn(first, last)) >= 0; first = static_cast<unsigned>(own) + 1)
        if (first < static_cast<unsigned>(own))
            result = nextCloseRange(first, static_cast<unsigned>(own) - 1, flags);
    return result == 0 && first <= last ? nextCloseRange(first, last, flags) : result;
}

} // namespace

} // namespace VelrixBoard::Preload

using namespace VelrixBoard::Preload;

VELRIX_PRELOADED(int, close, int descriptor) {
    if (HasBoard()) {
        if (IsOwn(descriptor))
            return Fail(EBADF);
        LeaveStandardStream(descriptor);
        TimerFiles::Forget(descriptor);
        // Before the close, since another thread may reuse the number at once.
        Descriptors::Clear(descriptor);
    }
    return nextClose(descriptor);
}

VELRIX_PRELOADED(int, dup, int from) {
    if (!HasBoard())
        return nextDup(from);
    return IsOwn(from) ? Fail(EBADF) : Duplicated(from, nextDup(from));
}

VELRIX_PRELOADED(int, dup2, int from, int to) {
    if (!HasBoard() || from == to)
        return nextDup2(from, to);
    if (IsOwn(from))
        return Fail(EBADF);
    MakeWay(to);
    return Duplicated(from, nextDup2(from, to));
}

VELRIX_PRELOADED(int, dup3, int from, int to, int flags) {
    if (!HasBoard() || from == to)
        return nextDup3(from, to, flags);
    if (IsOwn(from))
        return Fail(EBADF);
    MakeWay(to);
    return Duplicated(from, nextDup3(from, to, flags));
}

VELRIX_PRELOADED(int, fcntl, int descriptor, int command, ...) {
    va_list arguments;
    va_start(arguments, command);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    if (!HasBoard())
        return nextFcntl(descriptor, command, argument);
    if (IsOwn(descriptor))
        return Fail(EBADF);
    if (command == F_DUPFD || command == F_DUPFD_CLOEXEC)
        return Duplicated(descriptor, nextFcntl(descriptor, command, argument));
    if (command == F_GETFL || command == F_SETFL) {
        const ValueFiles::Opened opened(descriptor);
        if (opened)
            return command == F_GETFL
                       ? ValueFiles::Flags(opened)
                       : ValueFiles::SetFlags(opened, static_cast<int>(reinterpret_cast<std::intptr_t>(argument)));
    }
    return nextFcntl(descriptor, command, argument);
}
VELRIX_PRELOADED_ALIAS(fcntl, fcntl64);

VELRIX_PRELOADED(int, close_range, unsigned first, unsigned last, int flags) {
    return CloseRange(first, last, flags);
}

VELRIX_PRELOADED(void, closefrom, int first) {
    if (!HasBoard() || LowestOwn(first < 0 ? 0 : static_cast<unsigned>(first), UINT_MAX) < 0)
        nextClosefrom(first);
    else
        (void)CloseRange(first < 0 ? 0 : static_cast<unsigned>(first), UINT_MAX, 0);
}
