// SPDX-License-Identifier: Apache-2.0
// Hooks for chdir, getcwd, realpath, readlink.
#include <algorithm>
#include <cstdlib>
#include <cstring>

#include <unistd.h>

#include "board/preload/Descriptors.h"
#include "board/preload/Kernel.h"
#include "board/preload/Next.h"
#include "board/preload/Path.h"
#include "board/preload/Preloaded.h"

namespace VelrixBoard::Preload {

namespace {

constinit Next<int(const char*)> nextChdir{"chdir"};
constinit Next<char*(char*, size_t)> nextGetcwd{"getcwd"};
constinit Next<char*(char*, size_t, size_t)> nextGetcwdChecked{"__getcwd_chk"};
constinit Next<char*()> nextGetCurrentDirName{"get_current_dir_name"};
constinit Next<char*(const char*, char*)> nextRealpath{"realpath"};
constinit Next<ssize_t(int, const char*, char*, size_t)> nextReadlinkAt{"readlinkat"};

// The inside path of the working directory; 0 if it is not one of the board's.
std::size_t DirectoryInside(char* path, std::size_t size) {
    const Names* const names = Names::Current();
    if (names == nullptr)
        return 0;
    const Kernel::KeptErrno kept;
    const ssize_t length = Kernel::CurrentDirectory(path, size);
    return length <= 0 || path[0] != '/' ? 0 : names->ToInside(path, static_cast<std::size_t>(length), size);
}

char* Given(char* buffer, std::size_t size, const char* path, std::size_t length) {
    if (buffer == nullptr) {
        if (size == 0)
            size = length + 1;
        buffer = size > length ? static_cast<char*>(std::malloc(size)) : nullptr;
        if (buffer == nullptr && size > length)
            return nullptr;
    } else if (size == 0) {
        errno = EINVAL;
        return nullptr;
    }
    if (size <= length) {
        errno = ERANGE;
        return nullptr;
    }
    std::memcpy(buffer, path, length + 1);
    return buffer;
}

char* RealPath(const char* path, char* resolved) {
    const Names* const names = Names::Current();
    if (names == nullptr || path == nullptr)
        return nextRealpath(path, resolved);
    char found[PATH_MAX];
    const char* const result =
        WithPath(path, Follow::YES, [&](const Path& led) { return nextRealpath(led.Text(), found); });
    if (result == nullptr)
        return nullptr;
    (void)names->ToInside(found, std::strlen(found), sizeof found);
    return resolved == nullptr ? ::strdup(found) : std::strcpy(resolved, found);
}

// Links in /proc to open files and directories have outside names.
bool IsInProc(const char* path) {
    return std::strncmp(path, "/proc/", 6) == 0 || std::strncmp(path, "/dev/fd/", 8) == 0;
}

ssize_t ReadProcLink(const Names& names, const char* path, char* buffer, std::size_t size) {
    char link[PATH_MAX];
    const ssize_t length = Kernel::ReadLink(AT_FDCWD, path, link, sizeof link - 1);
    if (length < 0)
        return -1;
    link[length] = '\0';
    std::size_t total = static_cast<std::size_t>(length);
    ValueFile file;
    const int descriptor = DescriptorOfPath(path);
    const Name* value = nullptr;
    if (descriptor >= 0 && Descriptors::Find(descriptor, file))
        value = names.Value(file.file);
    if (value != nullptr) {
        std::memcpy(link, value->inside, value->insideLength);
        total = value->insideLength;
    } else if (link[0] == '/') {
        const std::size_t inside = names.ToInside(link, total, sizeof link);
        total = inside != 0 ? inside : total;
    }
    std::memcpy(buffer, link, std::min(total, size));
    return static_cast<ssize_t>(std::min(total, size));
}

ssize_t ReadLinkAt(int directory, const char* path, char* buffer, std::size_t size) {
    return WithPath(directory, path, Follow::NO, [=](const Path& led) {
        if (size > 0 && IsInProc(led.Whole()))
            return ReadProcLink(*Names::Current(), led.Whole(), buffer, size);
        return nextReadlinkAt(led.Directory(), led.Text(), buffer, size);
    });
}

} // namespace

} // namespace VelrixBoard::Preload

using namespace VelrixBoard::Preload;

VELRIX_PRELOADED(int, chdir, const char* path) {
    return WithPath(path, Follow::YES, [](const Path& led) { return nextChdir(led.Text()); });
}

VELRIX_PRELOADED(char*, getcwd, char* buffer, size_t size) {
    char path[PATH_MAX];
    const std::size_t length = DirectoryInside(path, sizeof path);
    return length == 0 ? nextGetcwd(buffer, size) : Given(buffer, size, path, length);
}
VELRIX_PRELOADED(char*, __getcwd_chk, char* buffer, size_t size, size_t room) {
    char path[PATH_MAX];
    const std::size_t length = DirectoryInside(path, sizeof path);
    return length == 0 || size > room ? nextGetcwdChecked(buffer, size, room) : Given(buffer, size, path, length);
}
VELRIX_PRELOADED(char*, get_current_dir_name) {
    char path[PATH_MAX];
    const std::size_t length = DirectoryInside(path, sizeof path);
    return length == 0 ? nextGetCurrentDirName() : Given(nullptr, 0, path, length);
}

VELRIX_PRELOADED(char*, realpath, const char* path, char* resolved) {
    return RealPath(path, resolved);
}
VELRIX_PRELOADED(char*, __realpath_chk, const char* path, char* resolved, size_t room) {
    if (room < PATH_MAX)
        std::abort();
    return RealPath(path, resolved);
}
VELRIX_PRELOADED(char*, canonicalize_file_name, const char* path) {
    return RealPath(path, nullptr);
}

VELRIX_PRELOADED(ssize_t, readlink, const char* path, char* buffer, size_t size) {
    return ReadLinkAt(AT_FDCWD, path, buffer, size);
}
VELRIX_PRELOADED(ssize_t, readlinkat, int directory, const char* path, char* buffer, size_t size) {
    return ReadLinkAt(directory, path, buffer, size);
}
VELRIX_PRELOADED(ssize_t, __readlink_chk, const char* path, char* buffer, size_t size, size_t room) {
    if (size > room)
        std::abort();
    return ReadLinkAt(AT_FDCWD, path, buffer, size);
}
VELRIX_PRELOADED(ssize_t, __readlinkat_chk, int directory, const char* path, char* buffer, size_t size, size_t room) {
    if (size > room)
        std::abort();
    return ReadLinkAt(directory, path, buffer, size);
}
