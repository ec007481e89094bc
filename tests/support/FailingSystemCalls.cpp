// SPDX-License-Identifier: Apache-2.0
// The definitions below interpose the C library's functions and would conflict with its inline variants.
#undef _FORTIFY_SOURCE

#include "tests/support/FailingSystemCalls.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstring>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace TestSupport {

namespace {

thread_local FailingSystemCalls* watcher = nullptr;

// With 64-bit file offsets on a 32-bit machine, the header redirects callers, and the definitions below, to other
// symbols.
constexpr bool IS_LARGE_FILE_32 = sizeof(off_t) > sizeof(long);

// Looked up lazily, by several threads maybe.
template <class Function>
Function* Real(std::atomic<Function*>& real, const char* name, const char* largeFileName) {
    Function* found = real.load(std::memory_order_relaxed);
    if (!found) {
        found = reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, IS_LARGE_FILE_32 ? largeFileName : name));
        real.store(found, std::memory_order_relaxed);
    }
    return found;
}

} // namespace

struct SystemCallWatch {
    static bool Fails(const char* name) noexcept { return watcher && watcher->Fails(name); }
    static std::size_t Limited(std::size_t count) noexcept {
        return watcher && watcher->writeLimit >= 0 ? std::min(count, static_cast<std::size_t>(watcher->writeLimit))
                                                   : count;
    }
};

FailingSystemCalls::FailingSystemCalls() noexcept : FailingSystemCalls("", 0, 0) {}

FailingSystemCalls::FailingSystemCalls(const char* name, int number, int ownError) noexcept
    : failing(name), remaining(number), error(ownError) {
    watcher = this;
}

FailingSystemCalls::~FailingSystemCalls() {
    watcher = nullptr;
}

void FailingSystemCalls::LimitWrites(int bytes) noexcept {
    writeLimit = bytes;
}

std::string FailingSystemCalls::Log() const {
    std::string log;
    for (int i = 0; i < callCount; ++i)
        log.append(i == 0 ? "" : ", ").append(calls[i]);
    return log;
}

bool FailingSystemCalls::HasFailed() const noexcept {
    return hasFailed;
}

bool FailingSystemCalls::Fails(const char* name) noexcept {
    if (callCount < MAX_CALLS)
        calls[callCount++] = name;
    if (std::strcmp(name, failing) != 0 || --remaining != 0)
        return false;
    hasFailed = true;
    errno = error;
    return true;
}

} // namespace TestSupport

using TestSupport::Real;
using TestSupport::SystemCallWatch;

extern "C" {

int open(const char* path, int flags, ...) {
    static std::atomic<int (*)(const char*, int, ...)> real{nullptr};
    if (SystemCallWatch::Fails("open"))
        return -1;
    mode_t mode = 0;
    if ((flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE) {
        va_list arguments;
        va_start(arguments, flags);
        mode = static_cast<mode_t>(va_arg(arguments, unsigned));
        va_end(arguments);
    }
    return Real(real, "open", "open64")(path, flags, mode);
}

int close(int descriptor) {
    static std::atomic<int (*)(int)> real{nullptr};
    // On Linux close releases the descriptor even on failure.
    const int result = Real(real, "close", "close")(descriptor);
    return SystemCallWatch::Fails("close") ? -1 : result;
}

ssize_t read(int descriptor, void* target, size_t count) {
    static std::atomic<ssize_t (*)(int, void*, size_t)> real{nullptr};
    return SystemCallWatch::Fails("read") ? -1 : Real(real, "read", "read")(descriptor, target, count);
}

ssize_t pread(int descriptor, void* target, size_t count, off_t offset) {
    static std::atomic<ssize_t (*)(int, void*, size_t, off_t)> real{nullptr};
    return SystemCallWatch::Fails("pread") ? -1 : Real(real, "pread", "pread64")(descriptor, target, count, offset);
}

ssize_t write(int descriptor, const void* source, size_t count) {
    static std::atomic<ssize_t (*)(int, const void*, size_t)> real{nullptr};
    if (SystemCallWatch::Fails("write"))
        return -1;
    return Real(real, "write", "write")(descriptor, source, SystemCallWatch::Limited(count));
}

off_t lseek(int descriptor, off_t offset, int whence) noexcept {
    static std::atomic<off_t (*)(int, off_t, int)> real{nullptr};
    return SystemCallWatch::Fails("lseek") ? -1 : Real(real, "lseek", "lseek64")(descriptor, offset, whence);
}

int fstat(int descriptor, struct stat* status) noexcept {
    static std::atomic<int (*)(int, struct stat*)> real{nullptr};
    return SystemCallWatch::Fails("fstat") ? -1 : Real(real, "fstat", "__fstat64_time64")(descriptor, status);
}

int stat(const char* path, struct stat* status) noexcept {
    static std::atomic<int (*)(const char*, struct stat*)> real{nullptr};
    return SystemCallWatch::Fails("stat") ? -1 : Real(real, "stat", "__stat64_time64")(path, status);
}

int dup3(int from, int to, int flags) noexcept {
    static std::atomic<int (*)(int, int, int)> real{nullptr};
    return SystemCallWatch::Fails("dup3") ? -1 : Real(real, "dup3", "dup3")(from, to, flags);
}

} // extern "C"
