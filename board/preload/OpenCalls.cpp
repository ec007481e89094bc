// SPDX-License-Identifier: Apache-2.0
// Hooks for open and its variants.
#include "board/preload/OpenCalls.h"

#include <cstdarg>
#include <cstdlib>
#include <cstring>

#include <sys/stat.h>

#include "board/preload/Descriptors.h"
#include "board/preload/Kernel.h"
#include "board/preload/Next.h"
#include "board/preload/Preloaded.h"
#include "board/preload/ValueFiles.h"

namespace VelrixBoard::Preload {

namespace {

constinit Next<int(int, const char*, int, ...)> nextOpenAt{"openat"};

bool IsTemporary(int flags) {
    return (flags & O_TMPFILE) == O_TMPFILE;
}

mode_t ModeOf(int flags, va_list arguments) {
    return (flags & O_CREAT) != 0 || IsTemporary(flags) ? static_cast<mode_t>(va_arg(arguments, unsigned)) : 0;
}

int OpenValue(const Name& value, int flags) {
    if ((flags & (O_CREAT | O_EXCL)) == (O_CREAT | O_EXCL))
        return Fail(EEXIST);
    const Names& names = *Names::Current();
    if ((flags & O_TRUNC) != 0 && !ValueFiles::MayAccess(names, value, 2))
        return Fail(EACCES);
    return ValueFiles::Open(names, value, flags);
}

// Nothing can be created in a tree.
int OpenInTree(const Path& path, int flags) {
    if (IsTemporary(flags))
        return Fail(EOPNOTSUPP);
    const char* const text = path.Text();
    if (text[std::strlen(text) - 1] == '/')
        return Fail(EISDIR);
    const int error = path.ErrorOfMaking(EACCES);
    // An existing path other than a value file is a directory.
    return Fail(error == EEXIST && (flags & O_EXCL) == 0 ? EISDIR : error);
}

int OpenAt(int directory, const char* path, int flags, mode_t mode) {
    const int opened = WithPath(directory, path, (flags & O_NOFOLLOW) != 0 ? Follow::NO : Follow::YES,
                                [&](const Path& led) { return OpenLed(led, flags, mode); });
    // The number may be that of a value file that was closed without a hook.
    if (opened >= 0 && (flags & O_PATH) != 0)
        Descriptors::Clear(opened);
    return opened;
}

} // namespace

bool IsOfTheMachinesKernel(const Path& path, int flags) {
    constexpr const char* FOLDERS[] = {"/sys/", "/proc/sys/", "/proc/sysrq-trigger"};
    if ((flags & O_PATH) != 0 || ((flags & O_ACCMODE) == O_RDONLY && (flags & O_TRUNC) == 0))
        return false;
    for (const char* folder : FOLDERS)
        if (std::strncmp(path.Whole(), folder, std::strlen(folder)) == 0)
            return true;
    return false;
}

int OpenLed(const Path& path, int flags, mode_t mode) {
    if (IsOfTheMachinesKernel(path, flags))
        return Fail(EROFS);
    if (path.Value() != nullptr && (flags & O_PATH) == 0)
        return OpenValue(*path.Value(), flags);
    if (path.IsInTree() && (flags & O_PATH) == 0 && ((flags & O_CREAT) != 0 || IsTemporary(flags)))
        return OpenInTree(path, flags);
    return nextOpenAt(path.Directory(), path.Text(), flags, mode);
}

} // namespace VelrixBoard::Preload

using namespace VelrixBoard::Preload;

VELRIX_PRELOADED(int, open, const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = ModeOf(flags, arguments);
    va_end(arguments);
    return OpenAt(AT_FDCWD, path, flags, mode);
}
VELRIX_PRELOADED_ALIAS(open, open64);

VELRIX_PRELOADED(int, openat, int directory, const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = ModeOf(flags, arguments);
    va_end(arguments);
    return OpenAt(directory, path, flags, mode);
}
VELRIX_PRELOADED_ALIAS(openat, openat64);

VELRIX_PRELOADED(int, creat, const char* path, mode_t mode) {
    return OpenAt(AT_FDCWD, path, O_CREAT | O_WRONLY | O_TRUNC, mode);
}
VELRIX_PRELOADED_ALIAS(creat, creat64);

// _FORTIFY_SOURCE variants for calls without a mode.
VELRIX_PRELOADED(int, __open_2, const char* path, int flags) {
    return OpenAt(AT_FDCWD, path, flags, 0);
}
VELRIX_PRELOADED_ALIAS(__open_2, __open64_2);

VELRIX_PRELOADED(int, __openat_2, int directory, const char* path, int flags) {
    return OpenAt(directory, path, flags, 0);
}
VELRIX_PRELOADED_ALIAS(__openat_2, __openat64_2);
