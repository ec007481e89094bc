// SPDX-License-Identifier: Apache-2.0
// Hooks for operations on the descriptor of an open value file.
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/uio.h>
#include <unistd.h>

#include "board/preload/Next.h"
#include "board/preload/Path.h"
#include "board/preload/Preloaded.h"
#include "board/preload/Protocol.h"
#include "board/preload/TimerFiles.h"
#include "board/preload/ValueFiles.h"

namespace VelrixBoard::Preload {

namespace {

using Opened = ValueFiles::Opened;

constinit Next<ssize_t(int, void*, size_t)> nextRead{"read"};
constinit Next<ssize_t(int, void*, size_t, off_t)> nextPread{"pread"};
constinit Next<ssize_t(int, const iovec*, int)> nextReadv{"readv"};
constinit Next<ssize_t(int, const iovec*, int, off_t)> nextPreadv{"preadv"};
constinit Next<ssize_t(int, const iovec*, int, off_t, int)> nextPreadv2{"preadv2"};
constinit Next<ssize_t(int, const void*, size_t)> nextWrite{"write"};
constinit Next<ssize_t(int, const void*, size_t, off_t)> nextPwrite{"pwrite"};
constinit Next<ssize_t(int, const iovec*, int)> nextWritev{"writev"};
constinit Next<ssize_t(int, const iovec*, int, off_t)> nextPwritev{"pwritev"};
constinit Next<ssize_t(int, const iovec*, int, off_t, int)> nextPwritev2{"pwritev2"};
constinit Next<off_t(int, off_t, int)> nextLseek{"lseek"};
constinit Next<int(int, off_t)> nextFtruncate{"ftruncate"};
constinit Next<int(int)> nextFsync{"fsync"};
constinit Next<int(int)> nextFdatasync{"fdatasync"};
constinit Next<int(int, mode_t)> nextFchmod{"fchmod"};
constinit Next<int(int, uid_t, gid_t)> nextFchown{"fchown"};
constinit Next<int(int, const timespec*)> nextFutimens{"futimens"};
constinit Next<int(int, const timeval*)> nextFutimes{"futimes"};
constinit Next<int(int, int, off_t, off_t)> nextFallocate{"fallocate"};
constinit Next<int(int, off_t, off_t)> nextPosixFallocate{"posix_fallocate"};
constinit Next<ssize_t(int, off_t*, int, off_t*, size_t, unsigned)> nextCopyFileRange{"copy_file_range"};
constinit Next<int(int, const char*, va_list)> nextVdprintf{"vdprintf"};

ssize_t ReadAt(const Opened& opened, void* buffer, std::size_t size, std::int64_t offset) {
    return offset < 0 ? Fail(EINVAL) : ValueFiles::Read(opened, buffer, size, offset);
}
ssize_t ReadAt(const Opened& opened, const iovec* parts, int count, std::int64_t offset) {
    return offset < 0 ? Fail(EINVAL) : ValueFiles::Read(opened, parts, count, offset);
}
ssize_t WriteAt(const Opened& opened, const void* text, std::size_t size, std::int64_t offset) {
    return offset < 0 ? Fail(EINVAL) : ValueFiles::Write(opened, text, size, offset);
}
ssize_t WriteAt(const Opened& opened, const iovec* parts, int count, std::int64_t offset) {
    return offset < 0 ? Fail(EINVAL) : ValueFiles::Write(opened, parts, count, offset);
}

// The kernel splits longer texts at a page, and each part would be a value.
int PrintTo(const Opened& opened, const char* format, va_list arguments) {
    char text[PAGE + 1];
    const int length = std::vsnprintf(text, sizeof text, format, arguments);
    if (length <= 0)
        return length;
    const auto size = static_cast<std::size_t>(length) < PAGE ? static_cast<std::size_t>(length) : PAGE;
    return ValueFiles::Write(opened, text, size, AT_POSITION) < 0 ? -1 : length;
}

int Print(int descriptor, const char* format, va_list arguments) {
    const Opened opened(descriptor);
    return opened ? PrintTo(opened, format, arguments) : nextVdprintf(descriptor, format, arguments);
}

} // namespace

} // namespace VelrixBoard::Preload

using namespace VelrixBoard::Preload;

VELRIX_PRELOADED(ssize_t, read, int descriptor, void* buffer, size_t size) {
    const Opened opened(descriptor);
    if (opened)
        return ValueFiles::Read(opened, buffer, size, AT_POSITION);
    ssize_t result = 0;
    return TimerFiles::Read(descriptor, buffer, size, result) ? result : nextRead(descriptor, buffer, size);
}
VELRIX_PRELOADED(ssize_t, pread, int descriptor, void* buffer, size_t size, off_t offset) {
    const Opened opened(descriptor);
    return opened ? ReadAt(opened, buffer, size, offset) : nextPread(descriptor, buffer, size, offset);
}
VELRIX_PRELOADED_ALIAS(pread, pread64);

// _FORTIFY_SOURCE variants for known buffer sizes.
VELRIX_PRELOADED(ssize_t, __read_chk, int descriptor, void* buffer, size_t size, size_t room) {
    if (size > room)
        std::abort();
    return velrix_read(descriptor, buffer, size);
}
VELRIX_PRELOADED(ssize_t, __pread_chk, int descriptor, void* buffer, size_t size, off_t offset, size_t room) {
    if (size > room)
        std::abort();
    return velrix_pread(descriptor, buffer, size, offset);
}
VELRIX_PRELOADED_ALIAS(__pread_chk, __pread64_chk);

VELRIX_PRELOADED(ssize_t, readv, int descriptor, const iovec* parts, int count) {
    const Opened opened(descriptor);
    return opened ? ValueFiles::Read(opened, parts, count, AT_POSITION) : nextReadv(descriptor, parts, count);
}
VELRIX_PRELOADED(ssize_t, preadv, int descriptor, const iovec* parts, int count, off_t offset) {
    const Opened opened(descriptor);
    return opened ? ReadAt(opened, parts, count, offset) : nextPreadv(descriptor, parts, count, offset);
}
VELRIX_PRELOADED_ALIAS(preadv, preadv64);
VELRIX_PRELOADED(ssize_t, preadv2, int descriptor, const iovec* parts, int count, off_t offset, int flags) {
    const Opened opened(descriptor);
    if (!opened)
        return nextPreadv2(descriptor, parts, count, offset, flags);
    return offset == AT_POSITION ? ValueFiles::Read(opened, parts, count, AT_POSITION)
                                 : ReadAt(opened, parts, count, offset);
}
VELRIX_PRELOADED_ALIAS(preadv2, preadv64v2);

VELRIX_PRELOADED(ssize_t, write, int descriptor, const void* text, size_t size) {
    const Opened opened(descriptor);
    return opened ? ValueFiles::Write(opened, text, size, AT_POSITION) : nextWrite(descriptor, text, size);
}
VELRIX_PRELOADED(ssize_t, pwrite, int descriptor, const void* text, size_t size, off_t offset) {
    const Opened opened(descriptor);
    return opened ? WriteAt(opened, text, size, offset) : nextPwrite(descriptor, text, size, offset);
}
VELRIX_PRELOADED_ALIAS(pwrite, pwrite64);
VELRIX_PRELOADED(ssize_t, writev, int descriptor, const iovec* parts, int count) {
    const Opened opened(descriptor);
    return opened ? ValueFiles::Write(opened, parts, count, AT_POSITION) : nextWritev(descriptor, parts, count);
}
VELRIX_PRELOADED(ssize_t, pwritev, int descriptor, const iovec* parts, int count, off_t offset) {
    const Opened opened(descriptor);
    return opened ? WriteAt(opened, parts, count, offset) : nextPwritev(descriptor, parts, count, offset);
}
VELRIX_PRELOADED_ALIAS(pwritev, pwritev64);
VELRIX_PRELOADED(ssize_t, pwritev2, int descriptor, const iovec* parts, int count, off_t offset, int flags) {
    const Opened opened(descriptor);
    if (!opened)
        return nextPwritev2(descriptor, parts, count, offset, flags);
    return offset == AT_POSITION ? ValueFiles::Write(opened, parts, count, AT_POSITION)
                                 : WriteAt(opened, parts, count, offset);
}
VELRIX_PRELOADED_ALIAS(pwritev2, pwritev64v2);

VELRIX_PRELOADED(off_t, lseek, int descriptor, off_t offset, int whence) {
    const Opened opened(descriptor);
    return opened ? ValueFiles::Seek(opened, offset, whence) : nextLseek(descriptor, offset, whence);
}
VELRIX_PRELOADED_ALIAS(lseek, lseek64);

VELRIX_PRELOADED(int, ftruncate, int descriptor, off_t size) {
    const Opened opened(descriptor);
    return opened ? ValueFiles::Truncate(opened, size) : nextFtruncate(descriptor, size);
}
VELRIX_PRELOADED_ALIAS(ftruncate, ftruncate64);

VELRIX_PRELOADED(int, fsync, int descriptor) {
    return Opened(descriptor) ? 0 : nextFsync(descriptor);
}
VELRIX_PRELOADED(int, fdatasync, int descriptor) {
    return Opened(descriptor) ? 0 : nextFdatasync(descriptor);
}

VELRIX_PRELOADED(int, fchmod, int descriptor, mode_t mode) {
    return Opened(descriptor) ? Fail(EPERM) : nextFchmod(descriptor, mode);
}
VELRIX_PRELOADED(int, fchown, int descriptor, uid_t user, gid_t group) {
    if (!Opened(descriptor))
        return nextFchown(descriptor, user, group);
    return user == static_cast<uid_t>(-1) && group == static_cast<gid_t>(-1) ? 0 : Fail(EPERM);
}
VELRIX_PRELOADED(int, futimens, int descriptor, const timespec* times) {
    return Opened(descriptor) ? 0 : nextFutimens(descriptor, times);
}
VELRIX_PRELOADED(int, futimes, int descriptor, const timeval* times) {
    return Opened(descriptor) ? 0 : nextFutimes(descriptor, times);
}

VELRIX_PRELOADED(int, fallocate, int descriptor, int mode, off_t offset, off_t size) {
    return Opened(descriptor) ? Fail(EOPNOTSUPP) : nextFallocate(descriptor, mode, offset, size);
}
VELRIX_PRELOADED_ALIAS(fallocate, fallocate64);

// The C library's fallback writes a zero byte, which is not a value.
VELRIX_PRELOADED(int, posix_fallocate, int descriptor, off_t offset, off_t size) {
    const Opened opened(descriptor);
    if (!opened)
        return nextPosixFallocate(descriptor, offset, size);
    const int before = errno;
    const int flags = ValueFiles::Flags(opened);
    errno = before;
    return flags >= 0 && (flags & O_ACCMODE) == O_RDONLY ? EBADF : EINVAL;
}
VELRIX_PRELOADED_ALIAS(posix_fallocate, posix_fallocate64);

// On failure programs fall back to read and write.
VELRIX_PRELOADED(ssize_t, copy_file_range, int from, off_t* fromOffset, int to, off_t* toOffset, size_t size,
                 unsigned flags) {
    return Opened(from) || Opened(to) ? Fail(EINVAL) : nextCopyFileRange(from, fromOffset, to, toOffset, size, flags);
}

VELRIX_PRELOADED(int, vdprintf, int descriptor, const char* format, va_list arguments) {
    return Print(descriptor, format, arguments);
}
VELRIX_PRELOADED(int, __vdprintf_chk, int descriptor, int, const char* format, va_list arguments) {
    return Print(descriptor, format, arguments);
}
VELRIX_PRELOADED(int, dprintf, int descriptor, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int result = Print(descriptor, format, arguments);
    va_end(arguments);
    return result;
}
VELRIX_PRELOADED(int, __dprintf_chk, int descriptor, int, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const int result = Print(descriptor, format, arguments);
    va_end(arguments);
    return result;
}
