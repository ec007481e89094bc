// SPDX-License-Identifier: Apache-2.0
#include "board/preload/Kernel.h"

#include <algorithm>
#include <cstring>
#include <ctime>

#include <fcntl.h>
#include <linux/futex.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

#include "board/preload/Next.h"

namespace VelrixBoard::Preload::Kernel {

namespace {

constinit Next<long(long, ...)> nextSystemCall{"syscall"};

} // namespace

int Open(int directory, const char* path, int flags) {
    return static_cast<int>(nextSystemCall(SYS_openat, directory, path, flags, 0));
}

int Close(int descriptor) {
    return static_cast<int>(nextSystemCall(SYS_close, descriptor));
}

ssize_t Read(int descriptor, void* buffer, std::size_t size) {
    return nextSystemCall(SYS_read, descriptor, buffer, size);
}

ssize_t ReadNow(int descriptor, void* buffer, std::size_t size) {
    iovec part{buffer, size};
    return nextSystemCall(SYS_preadv2, descriptor, &part, 1, -1L, -1L, RWF_NOWAIT);
}

ssize_t Write(int descriptor, const void* buffer, std::size_t size) {
    return nextSystemCall(SYS_write, descriptor, buffer, size);
}

bool IsReadable(int descriptor) {
    const KeptErrno kept;
    pollfd wait{descriptor, POLLIN, 0};
    const timespec now{};
    return nextSystemCall(SYS_ppoll, &wait, 1, &now, nullptr, 0) > 0 && (wait.revents & POLLIN) != 0;
}

bool IsNonBlocking(int descriptor) {
    return (nextSystemCall(SYS_fcntl, descriptor, F_GETFL) & O_NONBLOCK) != 0;
}

ssize_t ReadLink(int directory, const char* path, char* buffer, std::size_t size) {
    return nextSystemCall(SYS_readlinkat, directory, path, buffer, size);
}

ssize_t CurrentDirectory(char* buffer, std::size_t size) {
    const long length = nextSystemCall(SYS_getcwd, buffer, size);
    return length > 0 ? length - 1 : -1;
}

int Status(int descriptor, struct stat& status) {
    return static_cast<int>(nextSystemCall(SYS_fstat, descriptor, &status));
}

int Status(const char* path, bool follow, struct stat& status) {
    return static_cast<int>(
        nextSystemCall(SYS_newfstatat, AT_FDCWD, path, &status, follow ? 0 : static_cast<int>(AT_SYMLINK_NOFOLLOW)));
}

int Duplicate(int descriptor, int lowest) {
    return static_cast<int>(nextSystemCall(SYS_fcntl, descriptor, F_DUPFD_CLOEXEC, lowest));
}

int MoveUp(int descriptor, std::uint64_t room) {
    // The kernel's descriptor table grows up to the highest number.
    constexpr std::uint64_t HIGHEST = 4096;
    const std::uint64_t limit = std::min(Limit(RLIMIT_NOFILE), HIGHEST);
    for (std::uint64_t below = room; below >= 1 && limit > 2 * below; below /= 4) {
        const int moved = Duplicate(descriptor, static_cast<int>(limit - below));
        if (moved >= 0) {
            Close(descriptor);
            return moved;
        }
    }
    return descriptor;
}

int Bind(int socket, const sockaddr* address, socklen_t size) {
    return static_cast<int>(nextSystemCall(SYS_bind, socket, address, size));
}

int SocketName(int socket, sockaddr* address, socklen_t* size) {
    return static_cast<int>(nextSystemCall(SYS_getsockname, socket, address, size));
}

int MakeSocket(int type) {
    return static_cast<int>(nextSystemCall(SYS_socket, AF_UNIX, type | SOCK_CLOEXEC, 0));
}

ssize_t Send(int socket, const msghdr& message) {
    return nextSystemCall(SYS_sendmsg, socket, &message, MSG_NOSIGNAL);
}

ssize_t Receive(int socket, msghdr& message, int flags) {
    return nextSystemCall(SYS_recvmsg, socket, &message, flags);
}

pid_t Process() {
    return static_cast<pid_t>(nextSystemCall(SYS_getpid));
}

pid_t Thread() {
    return static_cast<pid_t>(nextSystemCall(SYS_gettid));
}

bool IsGone(pid_t process, pid_t thread) {
    return nextSystemCall(SYS_tgkill, process, thread, 0) != 0 && errno == ESRCH;
}

void* MapShared(int descriptor, std::size_t size) {
    constexpr off_t BEGIN = 0; // an int would leave half of the argument undefined
    return reinterpret_cast<void*>(
        nextSystemCall(SYS_mmap, nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, BEGIN));
}

// With a limit, since only then does a signal handler end the wait whatever its SA_RESTART says.
int FutexWait(std::atomic<std::uint32_t>& word, std::uint32_t expected) {
    constexpr timespec CENTURIES_LATER = {std::int64_t(1) << 33, 0};
    return static_cast<int>(nextSystemCall(SYS_futex, &word, FUTEX_WAIT_BITSET, expected, &CENTURIES_LATER, nullptr,
                                           FUTEX_BITSET_MATCH_ANY));
}

void FutexWake(std::atomic<std::uint32_t>& word) {
    (void)nextSystemCall(SYS_futex, &word, FUTEX_WAKE, 1, nullptr, nullptr, 0);
}

uid_t EffectiveUser() {
    return static_cast<uid_t>(nextSystemCall(SYS_geteuid));
}

gid_t EffectiveGroup() {
    return static_cast<gid_t>(nextSystemCall(SYS_getegid));
}

std::uint64_t Limit(int resource) {
    rlimit limit{};
    return nextSystemCall(SYS_prlimit64, 0, resource, nullptr, &limit) == 0 ? limit.rlim_cur : 0;
}

void Say(std::initializer_list<const char*> texts) {
    constexpr std::size_t MOST_TEXTS = 16;
    iovec parts[MOST_TEXTS];
    std::size_t count = 0;
    for (const char* text : texts)
        if (count < MOST_TEXTS)
            parts[count++] = {const_cast<char*>(text), std::strlen(text)};
    // One write, so that messages of several processes do not mix.
    (void)nextSystemCall(SYS_writev, STDERR_FILENO, parts, count);
}

} // namespace VelrixBoard::Preload::Kernel
