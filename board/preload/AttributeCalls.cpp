// SPDX-License-Identifier: Apache-2.0
// Hooks for modes, owners, times, sizes and extended attributes of files by path.
#include <sys/inotify.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/xattr.h>
#include <unistd.h>
#include <utime.h>

#include "board/preload/Kernel.h"
#include "board/preload/Next.h"
#include "board/preload/OpenCalls.h"
#include "board/preload/Path.h"
#include "board/preload/Preloaded.h"
#include "board/preload/ValueFiles.h"

namespace VelrixBoard::Preload {

namespace {

constinit Next<int(int, const char*, mode_t, int)> nextChmodAt{"fchmodat"};
constinit Next<int(int, const char*, uid_t, gid_t, int)> nextChownAt{"fchownat"};
constinit Next<int(const char*, const utimbuf*)> nextUtime{"utime"};
constinit Next<int(const char*, const timeval*)> nextUtimes{"utimes"};
constinit Next<int(const char*, const timeval*)> nextLutimes{"lutimes"};
constinit Next<int(int, const char*, const timeval*)> nextFutimesAt{"futimesat"};
constinit Next<int(int, const char*, const timespec*, int)> nextUtimensAt{"utimensat"};
constinit Next<int(const char*, off_t)> nextTruncate{"truncate"};
constinit Next<int(int, const char*, std::uint32_t)> nextInotifyAddWatch{"inotify_add_watch"};
constinit Next<ssize_t(const char*, const char*, void*, size_t)> nextGetXattr{"getxattr"};
constinit Next<ssize_t(const char*, const char*, void*, size_t)> nextLgetXattr{"lgetxattr"};
constinit Next<int(const char*, const char*, const void*, size_t, int)> nextSetXattr{"setxattr"};
constinit Next<int(const char*, const char*, const void*, size_t, int)> nextLsetXattr{"lsetxattr"};
constinit Next<ssize_t(const char*, char*, size_t)> nextListXattr{"listxattr"};
constinit Next<ssize_t(const char*, char*, size_t)> nextLlistXattr{"llistxattr"};
constinit Next<int(const char*, const char*)> nextRemoveXattr{"removexattr"};
constinit Next<int(const char*, const char*)> nextLremoveXattr{"lremovexattr"};

Follow FollowOf(int flags) {
    return (flags & AT_SYMLINK_NOFOLLOW) != 0 ? Follow::NO : Follow::YES;
}

// EPERM if the file exists, else the kernel's error. Sets errno.
int Refuse(const Path& path) {
    struct stat status {};
    return Kernel::Status(path.Text(), true, status) == 0 ? Fail(EPERM) : -1;
}

int ChmodAt(int directory, const char* path, mode_t mode, int flags) {
    return WithPath(directory, path, FollowOf(flags), [=](const Path& led) {
        return led.IsMadeUp() ? Refuse(led) : nextChmodAt(led.Directory(), led.Text(), mode, flags);
    });
}

int ChownAt(int directory, const char* path, uid_t user, gid_t group, int flags) {
    // Nothing is changed.
    const bool isEmpty = user == static_cast<uid_t>(-1) && group == static_cast<gid_t>(-1);
    return WithPath(directory, path, FollowOf(flags), [=](const Path& led) {
        return led.IsMadeUp() && !isEmpty ? Refuse(led) : nextChownAt(led.Directory(), led.Text(), user, group, flags);
    });
}

int TruncateValue(const Path& path, const Name& value, off_t size) {
    struct stat status {};
    if (size < 0)
        return Fail(EINVAL);
    if (Kernel::Status(path.Text(), true, status) != 0)
        return -1;
    return ValueFiles::MayAccess(*Names::Current(), value, W_OK) ? 0 : Fail(EACCES);
}

} // namespace

} // namespace VelrixBoard::Preload

using namespace VelrixBoard::Preload;

VELRIX_PRELOADED(int, chmod, const char* path, mode_t mode) {
    return ChmodAt(AT_FDCWD, path, mode, 0);
}
VELRIX_PRELOADED(int, lchmod, const char* path, mode_t mode) {
    return ChmodAt(AT_FDCWD, path, mode, AT_SYMLINK_NOFOLLOW);
}
VELRIX_PRELOADED(int, fchmodat, int directory, const char* path, mode_t mode, int flags) {
    return ChmodAt(directory, path, mode, flags);
}

VELRIX_PRELOADED(int, chown, const char* path, uid_t user, gid_t group) {
    return ChownAt(AT_FDCWD, path, user, group, 0);
}
VELRIX_PRELOADED(int, lchown, const char* path, uid_t user, gid_t group) {
    return ChownAt(AT_FDCWD, path, user, group, AT_SYMLINK_NOFOLLOW);
}
VELRIX_PRELOADED(int, fchownat, int directory, const char* path, uid_t user, gid_t group, int flags) {
    return ChownAt(directory, path, user, group, flags);
}

VELRIX_PRELOADED(int, utime, const char* path, const utimbuf* times) {
    return WithPath(path, Follow::YES, [=](const Path& led) { return nextUtime(led.Text(), times); });
}
VELRIX_PRELOADED(int, utimes, const char* path, const timeval* times) {
    return WithPath(path, Follow::YES, [=](const Path& led) { return nextUtimes(led.Text(), times); });
}
VELRIX_PRELOADED(int, lutimes, const char* path, const timeval* times) {
    return WithPath(path, Follow::NO, [=](const Path& led) { return nextLutimes(led.Text(), times); });
}
VELRIX_PRELOADED(int, futimesat, int directory, const char* path, const timeval* times) {
    return WithPath(directory, path, Follow::YES,
                    [=](const Path& led) { return nextFutimesAt(led.Directory(), led.Text(), times); });
}
VELRIX_PRELOADED(int, utimensat, int directory, const char* path, const timespec* times, int flags) {
    return WithPath(directory, path, FollowOf(flags),
                    [=](const Path& led) { return nextUtimensAt(led.Directory(), led.Text(), times, flags); });
}

VELRIX_PRELOADED(int, truncate, const char* path, off_t size) {
    return WithPath(path, Follow::YES, [=](const Path& led) {
        if (IsOfTheMachinesKernel(led, O_WRONLY))
            return Fail(EROFS);
        return led.Value() != nullptr ? TruncateValue(led, *led.Value(), size) : nextTruncate(led.Text(), size);
    });
}
VELRIX_PRELOADED_ALIAS(truncate, truncate64);

VELRIX_PRELOADED(int, inotify_add_watch, int queue, const char* path, std::uint32_t mask) {
    return WithPath(path, (mask & IN_DONT_FOLLOW) != 0 ? Follow::NO : Follow::YES,
                    [=](const Path& led) { return nextInotifyAddWatch(queue, led.Text(), mask); });
}

VELRIX_PRELOADED(ssize_t, getxattr, const char* path, const char* name, void* value, size_t size) {
    return WithPath(path, Follow::YES, [=](const Path& led) {
        return led.IsMadeUp() ? Fail(EOPNOTSUPP) : nextGetXattr(led.Text(), name, value, size);
    });
}
VELRIX_PRELOADED(ssize_t, lgetxattr, const char* path, const char* name, void* value, size_t size) {
    return WithPath(path, Follow::NO, [=](const Path& led) {
        return led.IsMadeUp() ? Fail(EOPNOTSUPP) : nextLgetXattr(led.Text(), name, value, size);
    });
}
VELRIX_PRELOADED(int, setxattr, const char* path, const char* name, const void* value, size_t size, int flags) {
    return WithPath(path, Follow::YES, [=](const Path& led) {
        return led.IsMadeUp() ? Fail(EOPNOTSUPP) : nextSetXattr(led.Text(), name, value, size, flags);
    });
}
VELRIX_PRELOADED(int, lsetxattr, const char* path, const char* name, const void* value, size_t size, int flags) {
    return WithPath(path, Follow::NO, [=](const Path& led) {
        return led.IsMadeUp() ? Fail(EOPNOTSUPP) : nextLsetXattr(led.Text(), name, value, size, flags);
    });
}
VELRIX_PRELOADED(ssize_t, listxattr, const char* path, char* list, size_t size) {
    return WithPath(path, Follow::YES, [=](const Path& led) {
        return led.IsMadeUp() ? Fail(EOPNOTSUPP) : nextListXattr(led.Text(), list, size);
    });
}
VELRIX_PRELOADED(ssize_t, llistxattr, const char* path, char* list, size_t size) {
    return WithPath(path, Follow::NO, [=](const Path& led) {
        return led.IsMadeUp() ? Fail(EOPNOTSUPP) : nextLlistXattr(led.Text(), list, size);
    });
}
VELRIX_PRELOADED(int, removexattr, const char* path, const char* name) {
    return WithPath(path, Follow::YES, [=](const Path& led) {
        return led.IsMadeUp() ? Fail(EOPNOTSUPP) : nextRemoveXattr(led.Text(), name);
    });
}
VELRIX_PRELOADED(int, lremovexattr, const char* path, const char* name) {
    return WithPath(path, Follow::NO, [=](const Path& led) {
        return led.IsMadeUp() ? Fail(EOPNOTSUPP) : nextLremoveXattr(led.Text(), name);
    });
}
