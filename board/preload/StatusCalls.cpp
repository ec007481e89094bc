// SPDX-License-Identifier: Apache-2.0
// Hooks for stat, access and their variants.
#include <cstring>

#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/sysmacros.h>
#include <sys/vfs.h>
#include <unistd.h>

#include "board/preload/Next.h"
#include "board/preload/Path.h"
#include "board/preload/Preloaded.h"
#include "board/preload/ValueFiles.h"

namespace VelrixBoard::Preload {

namespace {

using Opened = ValueFiles::Opened;

constinit Next<int(int, const char*, struct stat*, int)> nextStatAt{"fstatat"};
constinit Next<int(int, struct stat*)> nextStatDescriptor{"fstat"};
constinit Next<int(int, const char*, int, unsigned, struct statx*)> nextStatx{"statx"};
constinit Next<int(int, const char*, int, int)> nextAccessAt{"faccessat"};
constinit Next<int(const char*, struct statfs*)> nextStatFs{"statfs"};
constinit Next<int(const char*, struct statvfs*)> nextStatVfs{"statvfs"};
constinit Next<long(const char*, int)> nextPathConf{"pathconf"};

Follow FollowOf(int flags) {
    return (flags & AT_SYMLINK_NOFOLLOW) != 0 ? Follow::NO : Follow::YES;
}

bool NamesDescriptor(const char* path, int flags) {
    return (flags & AT_EMPTY_PATH) != 0 && path != nullptr && path[0] == '\0';
}

int StatDescriptor(int descriptor, struct stat* status) {
    const Opened opened(descriptor);
    return opened ? ValueFiles::Status(opened, *status) : nextStatDescriptor(descriptor, status);
}

int StatAt(int directory, const char* path, struct stat* status, int flags) {
    if (NamesDescriptor(path, flags)) {
        const Opened opened(directory);
        if (opened)
            return ValueFiles::Status(opened, *status);
    }
    return WithPath(directory, path, FollowOf(flags), [=](const Path& led) {
        const int result = nextStatAt(led.Directory(), led.Text(), status, flags);
        if (result == 0 && led.Value() != nullptr)
            ValueFiles::Adjust(*Names::Current(), *led.Value(), *status);
        return result;
    });
}

void Adjust(const Name& value, struct statx& status) {
    struct stat plain {};
    ValueFiles::Adjust(*Names::Current(), value, plain);
    status.stx_mode = static_cast<std::uint16_t>(plain.st_mode);
    status.stx_uid = plain.st_uid;
    status.stx_gid = plain.st_gid;
    status.stx_nlink = static_cast<std::uint32_t>(plain.st_nlink);
    status.stx_size = static_cast<std::uint64_t>(plain.st_size);
    status.stx_blksize = static_cast<std::uint32_t>(plain.st_blksize);
    status.stx_blocks = static_cast<std::uint64_t>(plain.st_blocks);
}

int Statx(int directory, const char* path, int flags, unsigned mask, struct statx* status) {
    if (NamesDescriptor(path, flags)) {
        const Opened opened(directory);
        if (opened) {
            struct stat plain {};
            const Name* const value = opened.List().Value(opened.File().file);
            if (ValueFiles::Status(opened, plain) != 0)
                return -1;
            std::memset(status, 0, sizeof *status);
            status->stx_mask = STATX_BASIC_STATS;
            status->stx_ino = plain.st_ino;
            status->stx_dev_major = major(plain.st_dev);
            status->stx_dev_minor = minor(plain.st_dev);
            status->stx_mtime.tv_sec = plain.st_mtime;
            Adjust(*value, *status);
            return 0;
        }
    }
    return WithPath(directory, path, FollowOf(flags), [=](const Path& led) {
        const int result = nextStatx(led.Directory(), led.Text(), flags, mask, status);
        if (result == 0 && led.Value() != nullptr)
            Adjust(*led.Value(), *status);
        return result;
    });
}

int AccessAt(int directory, const char* path, int mode, int flags) {
    return WithPath(directory, path, FollowOf(flags), [=](const Path& led) {
        if (led.Value() == nullptr)
            return nextAccessAt(led.Directory(), led.Text(), mode, flags);
        if (nextAccessAt(led.Directory(), led.Text(), F_OK, 0) != 0)
            return -1;
        return ValueFiles::MayAccess(*Names::Current(), *led.Value(), mode) ? 0 : Fail(EACCES);
    });
}

// The first argument of __xstat and its variants: the struct layout, of which a 64-bit machine has one. 0 is the
// kernel's, the same.
bool IsKnownLayout(int version) {
    return version == 0 || version == 1;
}

} // namespace

} // namespace VelrixBoard::Preload

using namespace VelrixBoard::Preload;

VELRIX_PRELOADED(int, stat, const char* path, struct stat* status) {
    return StatAt(AT_FDCWD, path, status, 0);
}
VELRIX_PRELOADED_ALIAS(stat, stat64);

VELRIX_PRELOADED(int, lstat, const char* path, struct stat* status) {
    return StatAt(AT_FDCWD, path, status, AT_SYMLINK_NOFOLLOW);
}
VELRIX_PRELOADED_ALIAS(lstat, lstat64);

VELRIX_PRELOADED(int, fstat, int descriptor, struct stat* status) {
    return StatDescriptor(descriptor, status);
}
VELRIX_PRELOADED_ALIAS(fstat, fstat64);

VELRIX_PRELOADED(int, fstatat, int directory, const char* path, struct stat* status, int flags) {
    return StatAt(directory, path, status, flags);
}
VELRIX_PRELOADED_ALIAS(fstatat, fstatat64);

VELRIX_PRELOADED(int, __xstat, int version, const char* path, struct stat* status) {
    return IsKnownLayout(version) ? StatAt(AT_FDCWD, path, status, 0) : Fail(EINVAL);
}
VELRIX_PRELOADED_ALIAS(__xstat, __xstat64);

VELRIX_PRELOADED(int, __lxstat, int version, const char* path, struct stat* status) {
    return IsKnownLayout(version) ? StatAt(AT_FDCWD, path, status, AT_SYMLINK_NOFOLLOW) : Fail(EINVAL);
}
VELRIX_PRELOADED_ALIAS(__lxstat, __lxstat64);

VELRIX_PRELOADED(int, __fxstat, int version, int descriptor, struct stat* status) {
    return IsKnownLayout(version) ? StatDescriptor(descriptor, status) : Fail(EINVAL);
}
VELRIX_PRELOADED_ALIAS(__fxstat, __fxstat64);

VELRIX_PRELOADED(int, __fxstatat, int version, int directory, const char* path, struct stat* status, int flags) {
    return IsKnownLayout(version) ? StatAt(directory, path, status, flags) : Fail(EINVAL);
}
VELRIX_PRELOADED_ALIAS(__fxstatat, __fxstatat64);

VELRIX_PRELOADED(int, statx, int directory, const char* path, int flags, unsigned mask, struct statx* status) {
    return Statx(directory, path, flags, mask, status);
}

VELRIX_PRELOADED(int, access, const char* path, int mode) {
    return AccessAt(AT_FDCWD, path, mode, 0);
}

VELRIX_PRELOADED(int, faccessat, int directory, const char* path, int mode, int flags) {
    return AccessAt(directory, path, mode, flags);
}

VELRIX_PRELOADED(int, euidaccess, const char* path, int mode) {
    return AccessAt(AT_FDCWD, path, mode, AT_EACCESS);
}
VELRIX_PRELOADED_ALIAS(euidaccess, eaccess);

VELRIX_PRELOADED(int, statfs, const char* path, struct statfs* status) {
    return WithPath(path, Follow::YES, [=](const Path& led) { return nextStatFs(led.Text(), status); });
}
VELRIX_PRELOADED_ALIAS(statfs, statfs64);

VELRIX_PRELOADED(int, statvfs, const char* path, struct statvfs* status) {
    return WithPath(path, Follow::YES, [=](const Path& led) { return nextStatVfs(led.Text(), status); });
}
VELRIX_PRELOADED_ALIAS(statvfs, statvfs64);

VELRIX_PRELOADED(long, pathconf, const char* path, int name) {
    return WithPath(path, Follow::YES, [=](const Path& led) { return nextPathConf(led.Text(), name); });
}
