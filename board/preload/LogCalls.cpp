// SPDX-License-Identifier: Apache-2.0
// Hooks for syslog and its variants. The C library's internal connect to /dev/log bypasses hooks, so this library sends
// the records, in the same format, by a socket of the same lifetime.
#include "board/preload/LogCalls.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <ctime>

#include <pthread.h>
#include <sys/uio.h>
#include <syslog.h>
#include <unistd.h>

#include "board/preload/Kernel.h"
#include "board/preload/Next.h"
#include "board/preload/Path.h"
#include "board/preload/Preloaded.h"
#include "board/preload/SocketCalls.h"

namespace VelrixBoard::Preload {

namespace {

constinit Next<void(const char*, int, int)> nextOpenlog{"openlog"};
constinit Next<void()> nextCloselog{"closelog"};
constinit Next<int(int)> nextSetlogmask{"setlogmask"};
constinit Next<void(int, int, const char*, va_list)> nextVsyslogChecked{"__vsyslog_chk"};

constexpr const char* LOG_PATH = "/dev/log";

// Timeout of the lock; then the record is dropped.
constexpr time_t LONGEST_WAIT_S = 60;

// The limit of the board's socket.
constexpr std::size_t LONGEST_RECORD = 65536;

pthread_mutex_t mutex{}; // all zeros, like PTHREAD_MUTEX_INITIALIZER

// The settings of openlog and setlogmask.
struct Log {
    const char* tag;
    int options;
    int facility;
    int mask;
    int socket;
};
constinit Log log = {nullptr, 0, LOG_USER, 0xff, -1};

class Lock final {
public:
    Lock() {
        timespec until{};
        ::clock_gettime(CLOCK_REALTIME, &until);
        until.tv_sec += LONGEST_WAIT_S;
        isHeld = ::pthread_mutex_timedlock(&mutex, &until) == 0;
    }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;
    ~Lock() {
        if (isHeld)
            ::pthread_mutex_unlock(&mutex);
    }
    explicit operator bool() const { return isHeld; }

private:
    bool isHeld;
};

// Whether the log is the board's; else call the C library's functions.
bool IsBoards() {
    const Names* const names = Names::Current();
    return names != nullptr && names->Find(LOG_PATH, std::strlen(LOG_PATH)).name != nullptr;
}

void Connect() {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strcpy(address.sun_path, LOG_PATH);
    const SocketAddress led(reinterpret_cast<const sockaddr*>(&address), sizeof address);
    for (const int type : {SOCK_DGRAM, SOCK_STREAM}) {
        log.socket = ::socket(AF_UNIX, type | SOCK_CLOEXEC, 0);
        if (log.socket < 0 || ::connect(log.socket, led.Get(), led.Size()) == 0)
            return;
        const bool isOtherType = errno == EPROTOTYPE;
        Kernel::Close(log.socket);
        log.socket = -1;
        if (!isOtherType)
            return;
    }
}

void Disconnect() {
    if (log.socket >= 0)
        ::close(log.socket);
    log.socket = -1;
}

void Send(const char* record, std::size_t size) {
    for (int attempt = 0; attempt < 2; ++attempt) {
        if (log.socket < 0)
            Connect();
        // Safe if the program reused the descriptor: only sockets accept this.
        if (log.socket < 0 || ::send(log.socket, record, size, MSG_NOSIGNAL) >= 0)
            return;
        // The descriptor may have been closed or reused.
        if (errno == EBADF || errno == ENOTSOCK)
            log.socket = -1;
        Disconnect();
    }
}

// "Nov  5 08:01:02 ", independent of the locale.
std::size_t PutTime(char* text, std::size_t size) {
    constexpr const char* MONTHS[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                      "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    const time_t now = ::time(nullptr);
    tm local{};
    ::localtime_r(&now, &local);
    const int length = std::snprintf(text, size, "%s %2d %02d:%02d:%02d ", MONTHS[local.tm_mon], local.tm_mday,
                                     local.tm_hour, local.tm_min, local.tm_sec);
    return static_cast<std::size_t>(length);
}

void PrintToStandardError(const char* text, std::size_t size) {
    char lineEnd = '\n';
    const iovec parts[] = {{const_cast<char*>(text), size}, {&lineEnd, 1}};
    (void)!::writev(STDERR_FILENO, parts, size > 0 && text[size - 1] == '\n' ? 1 : 2);
}

void Record(int priority, const char* format, va_list arguments) {
    const int error = errno;
    const int known = priority & (LOG_PRIMASK | LOG_FACMASK);
    if ((log.mask & LOG_MASK(LOG_PRI(known))) == 0)
        return;
    const int facility = (known & LOG_FACMASK) != 0 ? 0 : log.facility;
    const Kernel::Memory memory(LONGEST_RECORD);
    if (!memory.IsThere())
        return;
    char* const text = memory.As<char>();
    auto length = static_cast<std::size_t>(std::snprintf(text, LONGEST_RECORD, "<%d>", known | facility));
    length += PutTime(text + length, LONGEST_RECORD - length);
    const std::size_t tag = length;
    const char* const name = log.tag != nullptr ? log.tag : program_invocation_short_name;
    const int written =
        (log.options & LOG_PID) != 0
            ? std::snprintf(text + length, LONGEST_RECORD / 2, "%s[%d]: ", name, static_cast<int>(Kernel::Process()))
            : std::snprintf(text + length, LONGEST_RECORD / 2, "%s: ", name);
    length +=
        written > 0 && static_cast<std::size_t>(written) < LONGEST_RECORD / 2 ? static_cast<std::size_t>(written) : 0;
    errno = error; // for %m
    const int size = std::vsnprintf(text + length, LONGEST_RECORD - length, format, arguments);
    if (size < 0)
        return;
    length += static_cast<std::size_t>(size) < LONGEST_RECORD - length ? static_cast<std::size_t>(size)
                                                                       : LONGEST_RECORD - length - 1;
    if ((log.options & LOG_PERROR) != 0)
        PrintToStandardError(text + tag, length - tag);
    Send(text, length);
}

void RecordOrPass(int priority, int flag, const char* format, va_list arguments) {
    if (!IsBoards()) {
        nextVsyslogChecked(priority, flag, format, arguments);
        return;
    }
    const Kernel::KeptErrno kept;
    const int error = errno;
    const Lock lock;
    errno = error;
    if (lock)
        Record(priority, format, arguments);
}

} // namespace

void ResetLogInChild() {
    ::pthread_mutex_init(&mutex, nullptr);
}

} // namespace VelrixBoard::Preload

using namespace VelrixBoard::Preload;

// Also opens the C library's log, since this process may join a board later.
VELRIX_PRELOADED(void, openlog, const char* tag, int options, int facility) {
    const bool isBoards = IsBoards();
    nextOpenlog(tag, isBoards ? options & ~LOG_NDELAY : options, facility);
    const Kernel::KeptErrno kept;
    const Lock lock;
    if (!lock)
        return;
    log.tag = tag != nullptr ? tag : log.tag;
    log.options = options;
    log.facility = facility != 0 && (facility & ~LOG_FACMASK) == 0 ? facility : log.facility;
    if (isBoards && (options & LOG_NDELAY) != 0 && log.socket < 0)
        Connect();
}

VELRIX_PRELOADED(void, closelog) {
    nextCloselog();
    const Kernel::KeptErrno kept;
    const Lock lock;
    if (!lock)
        return;
    Disconnect();
    log.tag = nullptr;
}

VELRIX_PRELOADED(int, setlogmask, int mask) {
    const int before = nextSetlogmask(mask);
    const Lock lock;
    if (lock && mask != 0)
        log.mask = mask;
    return before;
}

VELRIX_PRELOADED(void, vsyslog, int priority, const char* format, va_list arguments) {
    RecordOrPass(priority, 0, format, arguments);
}
VELRIX_PRELOADED(void, __vsyslog_chk, int priority, int flag, const char* format, va_list arguments) {
    RecordOrPass(priority, flag, format, arguments);
}
VELRIX_PRELOADED(void, syslog, int priority, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    RecordOrPass(priority, 0, format, arguments);
    va_end(arguments);
}
VELRIX_PRELOADED(void, __syslog_chk, int priority, int flag, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    RecordOrPass(priority, flag, format, arguments);
    va_end(arguments);
}
