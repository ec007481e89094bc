// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>

#include "board/base/FileDescriptor.h"

namespace VelrixBoard {

// The directory on the machine with all files of one running board.
//
// Private() creates one below ${TMPDIR:-/tmp}, closed to other users, and removes it at the end. The next Private()
// also removes directories of killed boards, which it recognises by the lock that every live board holds. At() uses a
// directory that the caller names and keeps it.
class RunDirectory final {
public:
    static RunDirectory Private();

    // The directory must be empty or absent; BoardError otherwise.
    static RunDirectory At(const std::filesystem::path& directory);

    RunDirectory(RunDirectory&& other) noexcept = default;
    RunDirectory& operator=(RunDirectory&&) = delete;
    ~RunDirectory();

    const std::filesystem::path& Path() const { return path; }

private:
    RunDirectory(std::filesystem::path directory, FileDescriptor heldLock)
        : path(std::move(directory)), lock(std::move(heldLock)) {}

    std::filesystem::path path;
    FileDescriptor lock; // held while the board lives; empty for a directory that stays
};

// Removes the tree, adding missing permissions of its directories. Does not follow links. Best effort.
void RemoveTree(const std::filesystem::path& root);

} // namespace VelrixBoard
