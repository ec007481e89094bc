// SPDX-License-Identifier: Apache-2.0
#include "board/preload/Kernel.h"

#include <cstring>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

namespace VelrixBoard::Preload::Kernel {

int Open(int directory, const char* path, int flags) {
    return static_cast<int>(::syscall(SYS_openat, directory, path, flags, 0));
}

int Close(int descriptor) {
    return static_cast<int>(::syscall(SYS_close, descriptor));
}

ssize_t Read(int descriptor, void* buffer, std::size_t size) {
    return ::syscall(SYS_read, descriptor, buffer, size);
}

ssize_t ReadLink(int directory, const char* path, char* buffer, std::size_t size) {
    return ::syscall(SYS_readlinkat, directory, path, buffer, size);
}

ssize_t CurrentDirectory(char* buffer, std::size_t size) {
    const long length = ::syscall(SYS_getcwd, buffer, size);
    return length > 0 ? length - 1 : -1;
}

int Status(int descriptor, struct stat& status) {
    return static_cast<int>(::syscall(SYS_fstat, descriptor, &status));
}

int Status(const char* path, bool follow, struct stat& status) {
    return static_cast<int>(
        ::syscall(SYS_newfstatat, AT_FDCWD, path, &status, follow ? 0 : static_cast<int>(AT_SYMLINK_NOFOLLOW)));
}

int Duplicate(int descriptor, int lowest) {
    return static_cast<int>(::syscall(SYS_fcntl, descriptor, F_DUPFD_CLOEXEC, lowest));
}

int MakeSocket(int type) {
    return static_cast<int>(::syscall(SYS_socket, AF_UNIX, type | SOCK_CLOEXEC, 0));
}

ssize_t Send(int socket, const msghdr& message) {
    return ::syscall(SYS_sendmsg, socket, &message, MSG_NOSIGNAL);
}

ssize_t Receive(int socket, msghdr& message, int flags) {
    return ::syscall(SYS_recvmsg, socket, &message, flags);
}

pid_t Process() {
    return static_cast<pid_t>(::syscall(SYS_getpid));
}

uid_t EffectiveUser() {
    return static_cast<uid_t>(::syscall(SYS_geteuid));
}

gid_t EffectiveGroup() {
    return static_cast<gid_t>(::syscall(SYS_getegid));
}

std::uint64_t Limit(int resource) {
    rlimit limit{};
    return ::syscall(SYS_prlimit64, 0, resource, nullptr, &limit) == 0 ? limit.rlim_cur : 0;
}

void Say(std::initializer_list<const char*> texts) {
    constexpr std::size_t MOST_TEXTS = 16;
    iovec parts[MOST_TEXTS];
    std::size_t count = 0;
    for (const char* text : texts)
        if (count < MOST_TEXTS)
            parts[count++] = {const_cast<char*>(text), std::strlen(text)};
    // One write, so that messages of several processes do not mix.
    (void)::syscall(SYS_writev, STDERR_FILENO, parts, count);
}

} // namespace VelrixBoard::Preload::Kernel
