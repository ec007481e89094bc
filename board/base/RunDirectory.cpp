// SPDX-License-Identifier: Apache-2.0
#include "board/base/RunDirectory.h"

#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <string>
#include <system_error>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include "board/base/BoardError.h"

namespace VelrixBoard {

namespace fs = std::filesystem;

namespace {

const std::string PREFIX = "velrix-board-";
constexpr const char* LOCK_NAME = "lock";
constexpr const char* REMEDY = " (set TMPDIR, or name one with --directory)";

// Grace period: a directory without a lock belongs to a board that is just starting, or that died before it took the
// lock.
constexpr std::time_t STARTING_SECONDS = 60;

// Retries when another board's sweep removes a new directory before it is locked; repeated losses are another failure.
constexpr int MOST_ATTEMPTS = 16;

fs::path TemporaryDirectory() {
    const char* named = std::getenv("TMPDIR");
    return fs::absolute(named != nullptr && *named != '\0' ? named : "/tmp");
}

// Takes the lock of a run directory; empty when another process holds it.
FileDescriptor TakeLock(const fs::path& directory, int flags) {
    FileDescriptor file(::open((directory / LOCK_NAME).c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW | flags, 0600));
    if (!file || ::flock(file.Get(), LOCK_EX | LOCK_NB) != 0)
        return {};
    return file;
}

// Removes the lock last: after a kill in between, the next sweep still recognises a dead board's directory.
void RemoveRunDirectory(const fs::path& directory) {
    std::error_code error;
    fs::permissions(directory, fs::perms::owner_all, fs::perm_options::add, error);
    for (fs::directory_iterator entry(directory, error), end; !error && entry != end; entry.increment(error))
        if (entry->path().filename() != LOCK_NAME)
            RemoveTree(entry->path());
    fs::remove(directory / LOCK_NAME, error);
    fs::remove(directory, error);
}

void Sweep(const fs::path& parent) {
    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator(parent, error)) {
        struct stat status {};
        if (entry.path().filename().string().rfind(PREFIX, 0) != 0 || ::lstat(entry.path().c_str(), &status) != 0 ||
            !S_ISDIR(status.st_mode) || status.st_uid != ::geteuid())
            continue;
        const bool hasLock = fs::exists(entry.path() / LOCK_NAME, error);
        if (hasLock ? static_cast<bool>(TakeLock(entry.path(), 0))
                    : std::time(nullptr) - status.st_mtime > STARTING_SECONDS)
            RemoveRunDirectory(entry.path());
    }
}

} // namespace

void RemoveTree(const fs::path& root) {
    std::error_code error;
    if (fs::is_directory(fs::symlink_status(root, error))) {
        fs::permissions(root, fs::perms::owner_all, fs::perm_options::add, error);
        for (fs::directory_iterator entry(root, error), end; !error && entry != end; entry.increment(error))
            RemoveTree(entry->path());
    }
    fs::remove(root, error);
}

RunDirectory RunDirectory::Private() {
    const fs::path parent = TemporaryDirectory();
    Sweep(parent);
    for (int attempt = 1;; ++attempt) {
        std::string name = (parent / (PREFIX + "XXXXXX")).string();
        if (::mkdtemp(name.data()) == nullptr)
            ThrowSystemError("cannot make a run directory in " + parent.string() + REMEDY);
        // Race: another board's sweep may remove the directory between mkdtemp and the lock.
        FileDescriptor lock = TakeLock(name, O_CREAT);
        struct stat status {};
        if (lock && ::fstat(lock.Get(), &status) == 0 && status.st_nlink > 0)
            return {name, std::move(lock)};
        const int error = lock ? EAGAIN : errno;
        RemoveRunDirectory(name);
        if (attempt == MOST_ATTEMPTS)
            ThrowSystemError("cannot lock a run directory in " + parent.string() + REMEDY, error);
    }
}

RunDirectory RunDirectory::At(const fs::path& directory) {
    const fs::path path = fs::absolute(directory).lexically_normal();
    std::error_code error;
    fs::create_directories(path, error);
    if (error)
        throw BoardError("cannot make the run directory " + path.string() + ": " + error.message());
    const bool empty = fs::is_empty(path, error);
    if (error || !fs::is_directory(path))
        throw BoardError("cannot use " + path.string() +
                         " as run directory: " + (error ? error.message() : "it is no directory"));
    if (!empty)
        throw BoardError("the run directory " + path.string() + " is not empty; name an empty or absent one");
    return {path, {}};
}

RunDirectory::~RunDirectory() {
    if (lock)
        RemoveRunDirectory(path);
}

} // namespace VelrixBoard
