// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>

#include "board/base/FileDescriptor.h"

namespace VelrixBoard {

// The directory on the machine that holds all files of one running board.
//
// Private() makes one of its own below ${TMPDIR:-/tmp}, closed to other users, and removes it at the end. A board that
// was killed leaves its directory behind; the next Private() removes those whose board no longer lives, which it tells
// by the lock that every board holds in its directory. At() uses a directory that the caller named and leaves it there.
class RunDirectory final {
public:
    static RunDirectory Private();

    // The directory must be empty or absent; BoardError otherwise.
    static RunDirectory At(const std::filesystem::path& directory);

    RunDirectory(RunDirectory&& other) noexcept;
    RunDirectory& operator=(RunDirectory&&) = delete;
    ~RunDirectory();

    const std::filesystem::path& Path() const { return path; }

private:
    RunDirectory(std::filesystem::path directory, FileDescriptor heldLock)
        : path(std::move(directory)), lock(std::move(heldLock)) {}

    std::filesystem::path path;
    FileDescriptor lock; // held while the board lives; empty for a directory that stays
};

// Removes the tree, also where its directories deny it to their owner. Stays within the tree: links are not followed.
// What cannot be removed stays.
void RemoveTree(const std::filesystem::path& root);

} // namespace VelrixBoard
