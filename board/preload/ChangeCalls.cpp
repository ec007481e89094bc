// SPDX-License-Identifier: Apache-2.0
// Hooks that create, remove and rename files and directories. Value files and their trees reject all of it, like the
// device's kernel; names of the list that are mount points cannot be removed or renamed.
#include <cstdio>
#include <cstring>

#include <sys/stat.h>
#include <unistd.h>

#include "board/preload/Kernel.h"
#include "board/preload/Next.h"
#include "board/preload/Path.h"
#include "board/preload/Preloaded.h"

namespace VelrixBoard::Preload {

namespace {

constinit Next<int(int, const char*, mode_t)> nextMkdirAt{"mkdirat"};
constinit Next<int(int, const char*, mode_t, dev_t)> nextMknodAt{"mknodat"};
constinit Next<int(int, const char*, int)> nextUnlinkAt{"unlinkat"};
constinit Next<int(int, const char*, int, const char*, unsigned)> nextRenameAt{"renameat2"};
constinit Next<int(int, const char*, int, const char*)> nextPlainRenameAt{"renameat"};
constinit Next<int(int, const char*, int, const char*, int)> nextLinkAt{"linkat"};
constinit Next<int(const char*, int, const char*)> nextSymlinkAt{"symlinkat"};

// The type of the existing file; 0, and errno, if there is none.
mode_t TypeOf(const Path& path) {
    struct stat status {};
    return Kernel::Status(path.Text(), false, status) == 0 ? status.st_mode & S_IFMT : 0;
}

int MkdirAt(int directory, const char* path, mode_t mode) {
    return WithPath(directory, path, Follow::NO, [=](const Path& led) {
        return led.IsInTree() ? Fail(led.ErrorOfMaking(EPERM)) : nextMkdirAt(led.Directory(), led.Text(), mode);
    });
}

int MknodAt(int directory, const char* path, mode_t mode, dev_t device) {
    return WithPath(directory, path, Follow::NO, [=](const Path& led) {
        return led.IsInTree() ? Fail(led.ErrorOfMaking(EACCES))
                              : nextMknodAt(led.Directory(), led.Text(), mode, device);
    });
}

int UnlinkAt(int directory, const char* path, int flags) {
    return WithPath(directory, path, Follow::NO, [=](const Path& led) {
        if (!led.IsOnList() || (!led.IsMadeUp() && !led.IsName()))
            return nextUnlinkAt(led.Directory(), led.Text(), flags);
        const mode_t type = TypeOf(led);
        if (type == 0)
            return -1;
        const bool wantsDirectory = (flags & AT_REMOVEDIR) != 0;
        if (wantsDirectory != (type == S_IFDIR))
            return Fail(wantsDirectory ? ENOTDIR : EISDIR);
        if (led.IsMountPoint())
            return Fail(EBUSY);
        return led.IsMadeUp() ? Fail(EPERM) : nextUnlinkAt(led.Directory(), led.Text(), flags);
    });
}

// Value files are on separate file systems. 0 where neither path is on one.
int ErrorAcross(const Path& from, const Path& to) {
    if (!from.IsMadeUp() && !to.IsMadeUp())
        return 0;
    return from.IsMadeUp() != to.IsMadeUp() || from.Tree() != to.Tree() ? EXDEV : EPERM;
}

bool IsSameFile(const Path& a, const Path& b) {
    return std::strcmp(a.Text(), b.Text()) == 0;
}

int RenameAt(int fromDirectory, const char* from, int toDirectory, const char* to, unsigned flags) {
    return WithPath(fromDirectory, from, Follow::NO, [=](const Path& ledFrom) {
        return WithPath(toDirectory, to, Follow::NO, [=, &ledFrom](const Path& ledTo) {
            const mode_t fromType = ledFrom.IsOnList() ? TypeOf(ledFrom) : 0;
            if (ledFrom.IsOnList() && fromType == 0)
                return -1;
            if (ledFrom.IsOnList() && ledTo.IsOnList() && IsSameFile(ledFrom, ledTo) && flags == 0)
                return 0;
            if (ledFrom.IsMountPoint() || (ledTo.IsMountPoint() && TypeOf(ledTo) != 0))
                return Fail(EBUSY);
            const int error = ErrorAcross(ledFrom, ledTo);
            if (error != 0)
                return Fail(error);
            // The older call where it suffices, for kernels and file systems without the newer one.
            return flags == 0
                       ? nextPlainRenameAt(ledFrom.Directory(), ledFrom.Text(), ledTo.Directory(), ledTo.Text())
                       : nextRenameAt(ledFrom.Directory(), ledFrom.Text(), ledTo.Directory(), ledTo.Text(), flags);
        });
    });
}

int LinkAt(int fromDirectory, const char* from, int toDirectory, const char* to, int flags) {
    const Follow follow = (flags & AT_SYMLINK_FOLLOW) != 0 ? Follow::YES : Follow::NO;
    return WithPath(fromDirectory, from, follow, [=](const Path& ledFrom) {
        return WithPath(toDirectory, to, Follow::NO, [=, &ledFrom](const Path& ledTo) {
            const int error = ErrorAcross(ledFrom, ledTo);
            if (error == 0)
                return nextLinkAt(ledFrom.Directory(), ledFrom.Text(), ledTo.Directory(), ledTo.Text(), flags);
            if (ledFrom.IsOnList() && TypeOf(ledFrom) == 0)
                return -1;
            return Fail(ledTo.IsInTree() ? ledTo.ErrorOfMaking(error) : error);
        });
    });
}

int SymlinkAt(const char* target, int directory, const char* path) {
    return WithPath(directory, path, Follow::NO, [=](const Path& led) {
        return led.IsInTree() ? Fail(led.ErrorOfMaking(EPERM)) : nextSymlinkAt(target, led.Directory(), led.Text());
    });
}

} // namespace

} // namespace VelrixBoard::Preload

using namespace VelrixBoard::Preload;

VELRIX_PRELOADED(int, mkdir, const char* path, mode_t mode) {
    return MkdirAt(AT_FDCWD, path, mode);
}
VELRIX_PRELOADED(int, mkdirat, int directory, const char* path, mode_t mode) {
    return MkdirAt(directory, path, mode);
}

VELRIX_PRELOADED(int, mknod, const char* path, mode_t mode, dev_t device) {
    return MknodAt(AT_FDCWD, path, mode, device);
}
VELRIX_PRELOADED(int, mknodat, int directory, const char* path, mode_t mode, dev_t device) {
    return MknodAt(directory, path, mode, device);
}
VELRIX_PRELOADED(int, __xmknod, int version, const char* path, mode_t mode, dev_t* device) {
    return version == 0 ? MknodAt(AT_FDCWD, path, mode, *device) : Fail(EINVAL);
}
VELRIX_PRELOADED(int, __xmknodat, int version, int directory, const char* path, mode_t mode, dev_t* device) {
    return version == 0 ? MknodAt(directory, path, mode, *device) : Fail(EINVAL);
}
VELRIX_PRELOADED(int, mkfifo, const char* path, mode_t mode) {
    return MknodAt(AT_FDCWD, path, mode | S_IFIFO, 0);
}
VELRIX_PRELOADED(int, mkfifoat, int directory, const char* path, mode_t mode) {
    return MknodAt(directory, path, mode | S_IFIFO, 0);
}

VELRIX_PRELOADED(int, unlink, const char* path) {
    return UnlinkAt(AT_FDCWD, path, 0);
}
VELRIX_PRELOADED(int, unlinkat, int directory, const char* path, int flags) {
    return UnlinkAt(directory, path, flags);
}
VELRIX_PRELOADED(int, rmdir, const char* path) {
    return UnlinkAt(AT_FDCWD, path, AT_REMOVEDIR);
}
VELRIX_PRELOADED(int, remove, const char* path) {
    const int result = UnlinkAt(AT_FDCWD, path, 0);
    return result != 0 && errno == EISDIR ? UnlinkAt(AT_FDCWD, path, AT_REMOVEDIR) : result;
}

VELRIX_PRELOADED(int, rename, const char* from, const char* to) {
    return RenameAt(AT_FDCWD, from, AT_FDCWD, to, 0);
}
VELRIX_PRELOADED(int, renameat, int fromDirectory, const char* from, int toDirectory, const char* to) {
    return RenameAt(fromDirectory, from, toDirectory, to, 0);
}
VELRIX_PRELOADED(int, renameat2, int fromDirectory, const char* from, int toDirectory, const char* to, unsigned flags) {
    return RenameAt(fromDirectory, from, toDirectory, to, flags);
}

VELRIX_PRELOADED(int, link, const char* from, const char* to) {
    return LinkAt(AT_FDCWD, from, AT_FDCWD, to, 0);
}
VELRIX_PRELOADED(int, linkat, int fromDirectory, const char* from, int toDirectory, const char* to, int flags) {
    return LinkAt(fromDirectory, from, toDirectory, to, flags);
}
VELRIX_PRELOADED(int, symlink, const char* target, const char* path) {
    return SymlinkAt(target, AT_FDCWD, path);
}
VELRIX_PRELOADED(int, symlinkat, const char* target, int directory, const char* path) {
    return SymlinkAt(target, directory, path);
}
