// SPDX-License-Identifier: Apache-2.0
// Hooks for poll and select. A value file is always readable and writable; an unread event is an exceptional condition,
// and makes its socket readable.
#include <cstring>

#include <poll.h>
#include <sys/select.h>

#include "board/preload/Descriptors.h"
#include "board/preload/Kernel.h"
#include "board/preload/Names.h"
#include "board/preload/Next.h"
#include "board/preload/Path.h"
#include "board/preload/Preloaded.h"
#include "board/preload/TimedPolls.h"

namespace VelrixBoard::Preload {

namespace {

constinit Next<int(pollfd*, nfds_t, int, size_t)> nextPollChecked{"__poll_chk"};
constinit Next<int(pollfd*, nfds_t, const timespec*, const sigset_t*, size_t)> nextPpollChecked{"__ppoll_chk"};

constexpr short ALWAYS = POLLIN | POLLOUT | POLLRDNORM | POLLWRNORM;
constexpr timespec NOW{};

bool IsValue(int descriptor) {
    ValueFile file;
    return Descriptors::Find(descriptor, file);
}

bool HasValue(const pollfd* waits, nfds_t count) {
    if (Names::Current() == nullptr)
        return false;
    for (nfds_t i = 0; i < count; ++i)
        if (IsValue(waits[i].fd))
            return true;
    return false;
}

short Happened(const pollfd& wait, short events) {
    const bool hasEvent = (events & (POLLIN | POLLHUP)) != 0;
    const int always = wait.events & ALWAYS;
    return static_cast<short>(always | (hasEvent ? (wait.events & POLLPRI) | POLLERR : 0));
}

// call polls the given descriptors; with true, without blocking.
template <class Call>
int PollValues(pollfd* waits, nfds_t count, Call call) {
    constexpr nfds_t FEW = 64;
    pollfd few[FEW];
    bool fewAreValues[FEW];
    Kernel::Memory memory;
    if (count > FEW)
        memory.Replace(count * (sizeof(pollfd) + sizeof(bool)));
    if (count > FEW && !memory.IsThere())
        return Fail(ENOMEM);
    pollfd* const asked = count > FEW ? memory.As<pollfd>() : few;
    bool* const areValues = count > FEW ? reinterpret_cast<bool*>(asked + count) : fewAreValues;
    bool isReady = false;
    for (nfds_t i = 0; i < count; ++i) {
        asked[i] = waits[i];
        areValues[i] = IsValue(waits[i].fd);
        if (areValues[i]) {
            asked[i].events = POLLIN;
            isReady = isReady || (waits[i].events & ALWAYS) != 0;
        }
    }
    if (call(asked, isReady) < 0)
        return -1;
    int ready = 0;
    for (nfds_t i = 0; i < count; ++i) {
        waits[i].revents = areValues[i] ? Happened(waits[i], asked[i].revents) : asked[i].revents;
        ready += waits[i].revents != 0 ? 1 : 0;
    }
    return ready;
}

// The sets of select, sized for the program's largest descriptor, which may exceed FD_SETSIZE.
constexpr int MOST_NUMBERS = 65536;
constexpr std::size_t WORD_BITS = 64;
using Words = std::uint64_t[MOST_NUMBERS / WORD_BITS];

struct Sets {
    Words reading, writing, exceptional, valuesReading, valuesWriting, valuesExceptional;
};

bool Has(const fd_set* set, int number) {
    const auto* const words = reinterpret_cast<const std::uint64_t*>(set);
    const auto bit = static_cast<unsigned>(number);
    return set != nullptr && (words[bit / WORD_BITS] >> (bit % WORD_BITS) & 1) != 0;
}

void Put(std::uint64_t* words, int number, bool isIn) {
    const auto bit = static_cast<unsigned>(number);
    const std::uint64_t mask = std::uint64_t(1) << (bit % WORD_BITS);
    words[bit / WORD_BITS] = isIn ? words[bit / WORD_BITS] | mask : words[bit / WORD_BITS] & ~mask;
}

fd_set* Set(std::uint64_t* words) {
    return reinterpret_cast<fd_set*>(words);
}

bool HasValue(int count, const fd_set* reading, const fd_set* writing, const fd_set* exceptional) {
    if (Names::Current() == nullptr || count <= 0 || count > MOST_NUMBERS)
        return false;
    for (int i = 0; i < count; ++i)
        if ((Has(reading, i) || Has(writing, i) || Has(exceptional, i)) && IsValue(i))
            return true;
    return false;
}

// Splits the sets: value files go into separate sets; the kernel polls the sockets of those with requested events. True
// if one is ready at once.
bool Split(Sets& sets, int count, const fd_set* reading, const fd_set* writing, const fd_set* exceptional) {
    bool isReady = false;
    for (int i = 0; i < count; ++i) {
        const bool isRead = Has(reading, i), isWritten = Has(writing, i), isExceptional = Has(exceptional, i);
        if (!isRead && !isWritten && !isExceptional)
            continue;
        const bool isValue = IsValue(i);
        Put(sets.reading, i, isValue ? isExceptional : isRead);
        Put(sets.writing, i, !isValue && isWritten);
        Put(sets.exceptional, i, !isValue && isExceptional);
        Put(sets.valuesReading, i, isValue && isRead);
        Put(sets.valuesWriting, i, isValue && isWritten);
        Put(sets.valuesExceptional, i, isValue && isExceptional);
        isReady = isReady || (isValue && (isRead || isWritten));
    }
    return isReady;
}

int Join(const Sets& sets, int count, fd_set* reading, fd_set* writing, fd_set* exceptional) {
    int ready = 0;
    const auto give = [&ready](fd_set* set, int number, bool isIn) {
        if (set != nullptr)
            Put(reinterpret_cast<std::uint64_t*>(set), number, isIn);
        ready += isIn ? 1 : 0;
    };
    const auto has = [](const Words& words, int number) { return Has(reinterpret_cast<const fd_set*>(words), number); };
    for (int i = 0; i < count; ++i) {
        const bool hasEvent = has(sets.valuesExceptional, i) && has(sets.reading, i);
        give(reading, i, has(sets.valuesReading, i) || (!has(sets.valuesExceptional, i) && has(sets.reading, i)));
        give(writing, i, has(sets.valuesWriting, i) || has(sets.writing, i));
        give(exceptional, i, hasEvent || has(sets.exceptional, i));
    }
    return ready;
}

template <class Call>
int SelectValues(int count, fd_set* reading, fd_set* writing, fd_set* exceptional, Call call) {
    const Kernel::Memory memory(sizeof(Sets));
    if (!memory.IsThere())
        return Fail(ENOMEM);
    Sets& sets = *memory.As<Sets>();
    const bool isReady = Split(sets, count, reading, writing, exceptional);
    if (call(Set(sets.reading), Set(sets.writing), Set(sets.exceptional), isReady) < 0)
        return -1;
    return Join(sets, count, reading, writing, exceptional);
}

} // namespace

} // namespace VelrixBoard::Preload

using namespace VelrixBoard::Preload;

VELRIX_PRELOADED(int, poll, pollfd* waits, nfds_t count, int timeoutMs) {
    if (!HasValue(waits, count))
        return TimedPolls::Poll(waits, count, timeoutMs);
    return PollValues(waits, count, [=](pollfd* asked, bool isReady) {
        return TimedPolls::Poll(asked, count, isReady ? 0 : timeoutMs);
    });
}
VELRIX_PRELOADED(int, __poll_chk, pollfd* waits, nfds_t count, int timeoutMs, size_t room) {
    if (count > room / sizeof(pollfd))
        return nextPollChecked(waits, count, timeoutMs, room);
    return velrix_poll(waits, count, timeoutMs);
}

VELRIX_PRELOADED(int, ppoll, pollfd* waits, nfds_t count, const timespec* timeout, const sigset_t* signals) {
    if (!HasValue(waits, count))
        return TimedPolls::Ppoll(waits, count, timeout, signals);
    return PollValues(waits, count, [=](pollfd* asked, bool isReady) {
        return TimedPolls::Ppoll(asked, count, isReady ? &NOW : timeout, signals);
    });
}
VELRIX_PRELOADED(int, __ppoll_chk, pollfd* waits, nfds_t count, const timespec* timeout, const sigset_t* signals,
                 size_t room) {
    if (count > room / sizeof(pollfd))
        return nextPpollChecked(waits, count, timeout, signals, room);
    return velrix_ppoll(waits, count, timeout, signals);
}

VELRIX_PRELOADED(int, select, int count, fd_set* reading, fd_set* writing, fd_set* exceptional, timeval* timeout) {
    if (!HasValue(count, reading, writing, exceptional))
        return TimedPolls::Select(count, reading, writing, exceptional, timeout);
    return SelectValues(count, reading, writing, exceptional, [=](fd_set* r, fd_set* w, fd_set* e, bool isReady) {
        timeval now{};
        return TimedPolls::Select(count, r, w, e, isReady ? &now : timeout);
    });
}

VELRIX_PRELOADED(int, pselect, int count, fd_set* reading, fd_set* writing, fd_set* exceptional,
                 const timespec* timeout, const sigset_t* signals) {
    if (!HasValue(count, reading, writing, exceptional))
        return TimedPolls::Pselect(count, reading, writing, exceptional, timeout, signals);
    return SelectValues(count, reading, writing, exceptional, [=](fd_set* r, fd_set* w, fd_set* e, bool isReady) {
        return TimedPolls::Pselect(count, r, w, e, isReady ? &NOW : timeout, signals);
    });
}
