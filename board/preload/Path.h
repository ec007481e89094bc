// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cerrno>
#include <climits>
#include <cstddef>

#include <fcntl.h>

#include "board/preload/Names.h"

namespace VelrixBoard::Preload {

// Whether a call follows a symbolic link as the last component.
enum class Follow { YES, NO };

// A path argument of a call, redirected to the board.
//
// Makes the path absolute and normal, without file access, and looks it up in the list of names. Other paths go to the
// kernel unchanged; only if the working directory, or the directory descriptor, is one of the board's, the kernel gets
// the absolute path, since ".." of that directory differs.
//
// 4 KB large. Preserves errno.
class Path final {
public:
    Path(int directory, const char* path, Follow follow);
    Path(const Path&) = delete;
    Path& operator=(const Path&) = delete;

    int Directory() const { return isReplaced ? AT_FDCWD : givenDirectory; }
    const char* Text() const { return isReplaced ? text : given; }

    // A value file or one of their directories, which exist on no file system.
    bool IsMadeUp() const { return IsInTree() || Value() != nullptr; }

    bool IsOnList() const { return place.name != nullptr; }
    bool IsName() const { return isName; }                  // the path itself is a name of the list
    bool IsInTree() const { return place.tree != nullptr; } // including the tree itself
    bool IsMountPoint() const { return isName && place.name->isMount; }
    const Name* Tree() const { return place.tree; }
    const Name* Value() const { return place.value; } // null for other files

    // The inside path, absolute and normal; empty if unknown.
    const char* Whole() const { return length != 0 && !isReplaced ? text : ""; }

    // After a call failed with ENOENT or ENOTDIR: resolves the path's symbolic links on the board. True if the result
    // is another path on the list.
    bool Resolve(Follow follow);

    // The error of creating something in a tree: EEXIST if it exists, the kernel's error if the parent directory does
    // not exist, else the given one.
    int ErrorOfMaking(int error) const;

private:
    bool Compose();
    bool Lead();
    void TakeCovered();
    void TakeDescriptor();

    const char* given;
    int givenDirectory;
    const Names* names;
    Place place;
    bool isReplaced = false;
    bool isName = false;
    bool isDirectory = false; // has a trailing slash
    std::size_t length = 0;
    char text[PATH_MAX];
};

// The descriptor of this process for paths such as /dev/fd/3 and /dev/stdin; -1 for others. The path is absolute and
// normal.
int DescriptorOfPath(const char* path);

inline bool IsFailure(long result) {
    return result == -1;
}
inline bool IsFailure(const void* result) {
    return result == nullptr;
}

// Calls with the redirected path; retries where symbolic links lead onto the board.
template <class Call>
auto WithPath(int directory, const char* path, Follow follow, Call call) {
    Path led(directory, path, follow);
    auto result = call(static_cast<const Path&>(led));
    if (IsFailure(result) && (errno == ENOENT || errno == ENOTDIR) && led.Resolve(follow))
        result = call(static_cast<const Path&>(led));
    return result;
}
template <class Call>
auto WithPath(const char* path, Follow follow, Call call) {
    return WithPath(AT_FDCWD, path, follow, call);
}

inline int Fail(int error) {
    errno = error;
    return -1;
}

} // namespace VelrixBoard::Preload
