// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cerrno>
#include <climits>
#include <cstddef>

#include <fcntl.h>

#include "board/preload/Names.h"

namespace VelrixBoard::Preload {

// Whether a call follows a symbolic link that the path ends in.
enum class Follow { YES, NO };

// A path that a program gives to a call, led to where the board keeps it.
//
// The path is made absolute and normal, without asking the file system, and looked up in the list of names. What is not
// there goes to the kernel as the program gave it; only where the program's current directory, or the descriptor it
// names, is one of the board's, the kernel gets the whole path, since ".." of that directory is elsewhere.
//
// It is 4 KB large. It leaves errno alone.
class Path final {
public:
    Path(int directory, const char* path, Follow follow);
    Path(const Path&) = delete;
    Path& operator=(const Path&) = delete;

    int Directory() const { return isReplaced ? AT_FDCWD : givenDirectory; }
    const char* Text() const { return isReplaced ? text : given; }

    // A value file or one of their directories, which no file system has.
    bool IsMadeUp() const { return IsInTree() || Value() != nullptr; }

    bool IsOnList() const { return place.name != nullptr; }
    bool IsName() const { return isName; }                  // the whole path is a name of the list
    bool IsInTree() const { return place.tree != nullptr; } // or the tree itself
    bool IsMountPoint() const { return isName && place.name->isMount; }
    const Name* Tree() const { return place.tree; }
    const Name* Value() const { return place.value; } // null for other files

    // The path that was not led, absolute and normal; an empty text where it has none or none was looked for.
    const char* Whole() const { return length != 0 && !isReplaced ? text : ""; }

    // After a call that failed with ENOENT or ENOTDIR: follows the path's symbolic links as the program would find
    // them. True if that leads to another path, which is on the list.
    bool Resolve(Follow follow);

    // An error of the call that makes something at a path in a tree: EEXIST if something is there, the kernel's error
    // if there is no directory to make it in, and else the one given.
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
    bool isDirectory = false; // ends in a slash
    std::size_t length = 0;
    char text[PATH_MAX];
};

// The number of a descriptor of this process that the path names, such as /dev/fd/3 and /dev/stdin; -1 for other paths.
// The path is absolute and normal.
int DescriptorOfPath(const char* path);

inline bool IsFailure(long result) {
    return result == -1;
}
inline bool IsFailure(const void* result) {
    return result == nullptr;
}

// Makes the call with the path led; makes it a second time where the program's symbolic links lead onto the board.
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
