// SPDX-License-Identifier: Apache-2.0
// Hooks for stdio streams on value files. The C library's internal reads and writes bypass hooks, so a value file's
// stream is made by fopencookie.
#include "board/preload/Streams.h"

#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

#include "board/preload/Kernel.h"
#include "board/preload/Life.h"
#include "board/preload/Next.h"
#include "board/preload/OpenCalls.h"
#include "board/preload/Preloaded.h"
#include "board/preload/Protocol.h"
#include "board/preload/ValueFiles.h"

namespace VelrixBoard::Preload {

namespace {

using Opened = ValueFiles::Opened;

constinit Next<FILE*(const char*, const char*)> nextFopen{"fopen"};
constinit Next<FILE*(const char*, const char*, FILE*)> nextFreopen{"freopen"};
constinit Next<FILE*(int, const char*)> nextFdopen{"fdopen"};
constinit Next<int(FILE*)> nextFclose{"fclose"};

// The open flags of an fopen mode; -1 for an invalid one.
int FlagsOf(const char* mode) {
    int flags = 0;
    switch (mode[0]) {
    case 'r':
        flags = O_RDONLY;
        break;
    case 'w':
        flags = O_WRONLY | O_CREAT | O_TRUNC;
        break;
    case 'a':
        flags = O_WRONLY | O_CREAT | O_APPEND;
        break;
    default:
        return -1;
    }
    for (const char* c = mode + 1; *c != '\0' && *c != ','; ++c) {
        if (*c == '+')
            flags = (flags & ~O_ACCMODE) | O_RDWR;
        else if (*c == 'x')
            flags |= O_EXCL;
        else if (*c == 'e')
            flags |= O_CLOEXEC;
    }
    return flags;
}

// The cookie is the descriptor's number, which the program may have reused.
int DescriptorOf(void* cookie) {
    return static_cast<int>(reinterpret_cast<std::intptr_t>(cookie));
}

ssize_t ReadStream(void* cookie, char* buffer, std::size_t size) {
    return ::read(DescriptorOf(cookie), buffer, size);
}

// The C library treats every size but the full one as an error.
ssize_t WriteStream(void* cookie, const char* text, std::size_t size) {
    std::size_t done = 0;
    while (done < size) {
        const ssize_t written = ::write(DescriptorOf(cookie), text + done, size - done);
        if (written <= 0)
            break;
        done += static_cast<std::size_t>(written);
    }
    return static_cast<ssize_t>(done);
}

int SeekStream(void* cookie, off64_t* offset, int whence) {
    const off_t position = ::lseek(DescriptorOf(cookie), *offset, whence);
    if (position < 0)
        return -1;
    *offset = position;
    return 0;
}

int CloseStream(void* cookie) {
    return ::close(DescriptorOf(cookie));
}

// A stream of the value file; null and errno when out of memory.
FILE* MakeStream(int descriptor, const char* mode, cookie_close_function_t* close = CloseStream) {
    const cookie_io_functions_t functions = {ReadStream, WriteStream, SeekStream, close};
    // Keeps only the relevant part of the mode.
    const char plain[] = {mode[0], std::strchr(mode, '+') != nullptr ? '+' : '\0', '\0'};
    FILE* const stream =
        ::fopencookie(reinterpret_cast<void*>(static_cast<std::intptr_t>(descriptor)), plain, functions);
    // For fileno; the cookie functions are called before any use of the descriptor.
    if (stream != nullptr)
        stream->_fileno = descriptor;
    return stream;
}

FILE* OpenStream(const Path& led, const char* mode) {
    const int flags = FlagsOf(mode);
    if (flags < 0) {
        errno = EINVAL;
        return nullptr;
    }
    const int descriptor = OpenLed(led, flags, 0666);
    if (descriptor < 0)
        return nullptr;
    // Not a value file only if it is a directory, or while the board ends.
    FILE* const stream = Opened(descriptor) ? MakeStream(descriptor, mode) : nextFdopen(descriptor, mode);
    if (stream == nullptr)
        ::close(descriptor);
    return stream;
}

FILE* Open(const char* path, const char* mode) {
    return WithPath(path, Follow::YES, [=](const Path& led) -> FILE* {
        const int flags = FlagsOf(mode);
        if (flags >= 0 && IsOfTheMachinesKernel(led, flags)) {
            errno = EROFS;
            return nullptr;
        }
        return led.IsMadeUp() ? OpenStream(led, mode) : nextFopen(led.Text(), mode);
    });
}

// The replacement of a standard stream, and the original. The index is the descriptor.
struct Standard {
    FILE** current;
    FILE* made;
    FILE* own;
};
constexpr int STANDARD_STREAMS = 3;
Standard standards[STANDARD_STREAMS] = {
    {&stdin, nullptr, nullptr}, {&stdout, nullptr, nullptr}, {&stderr, nullptr, nullptr}};

bool IsExchanged(const Standard& standard) {
    return standard.made != nullptr && *standard.current == standard.made;
}

// The program has closed it: restore the original.
int CloseStandardStream(void* cookie) {
    Standard& standard = standards[DescriptorOf(cookie)];
    if (IsExchanged(standard))
        *standard.current = standard.own;
    standard.made = nullptr;
    return CloseStream(cookie);
}

void Exchange(Standard& standard, int descriptor) {
    if (standard.made == nullptr) {
        standard.made = MakeStream(descriptor, descriptor == STDIN_FILENO ? "r" : "w", CloseStandardStream);
        if (standard.made != nullptr && descriptor == STDERR_FILENO)
            std::setvbuf(standard.made, nullptr, _IONBF, 0);
    }
    if (standard.made == nullptr || IsExchanged(standard))
        return;
    standard.own = *standard.current;
    *standard.current = standard.made;
}

FILE* Failed(FILE* stream, int error) {
    nextFclose(stream);
    errno = error;
    return nullptr;
}

// The value file gets the stream's descriptor. That replaces a standard stream. Other streams cannot be replaced, since
// the program has their address: their writes become values without an answer, and reads fail.
FILE* Reopen(const Path& led, const char* mode, FILE* stream) {
    const int flags = FlagsOf(mode);
    const int old = ::fileno(stream);
    const bool isStandard = old >= 0 && old < STANDARD_STREAMS && *standards[old].current == stream;
    if (flags < 0 || old < 0 || (!isStandard && (flags & O_ACCMODE) != O_WRONLY))
        return Failed(stream, flags < 0 ? EINVAL : ENOTSUP);
    std::fflush(stream);
    const int descriptor = OpenLed(led, flags, 0666);
    if (descriptor < 0)
        return Failed(stream, errno);
    const int moved = ::dup3(descriptor, old, flags & O_CLOEXEC);
    const int error = errno;
    ::close(descriptor);
    if (moved < 0)
        return Failed(stream, error);
    return isStandard ? *standards[old].current : stream;
}

FILE* Reopened(const char* path, const char* mode, FILE* stream) {
    // The replacement becomes an ordinary stream of the program.
    for (Standard& standard : standards)
        if (IsExchanged(standard) && standard.made == stream)
            standard.made = nullptr;
    if (path == nullptr)
        return nextFreopen(path, mode, stream);
    const Path led(AT_FDCWD, path, Follow::YES);
    const int flags = FlagsOf(mode);
    if (flags >= 0 && IsOfTheMachinesKernel(led, flags))
        return Failed(stream, EROFS);
    return led.Value() != nullptr ? Reopen(led, mode, stream) : nextFreopen(led.Text(), mode, stream);
}

} // namespace

void ExchangeStandardStreams() {
    for (int descriptor = 0; descriptor < STANDARD_STREAMS; ++descriptor)
        FollowStandardStream(descriptor);
}

// The child of a vfork shares its parent's streams.
void LeaveStandardStream(int descriptor) {
    if (descriptor < 0 || descriptor >= STANDARD_STREAMS || !IsExchanged(standards[descriptor]) || !IsOwnMemory())
        return;
    const Kernel::KeptErrno kept;
    std::fflush(standards[descriptor].made);
    *standards[descriptor].current = standards[descriptor].own;
}

void FollowStandardStream(int descriptor) {
    if (descriptor < 0 || descriptor >= STANDARD_STREAMS || !Opened(descriptor) || !IsOwnMemory())
        return;
    const Kernel::KeptErrno kept;
    Exchange(standards[descriptor], descriptor);
}

} // namespace VelrixBoard::Preload

using namespace VelrixBoard::Preload;

VELRIX_PRELOADED(FILE*, fopen, const char* path, const char* mode) {
    return Open(path, mode);
}
VELRIX_PRELOADED_ALIAS(fopen, fopen64);

VELRIX_PRELOADED(FILE*, freopen, const char* path, const char* mode, FILE* stream) {
    return Reopened(path, mode, stream);
}
VELRIX_PRELOADED_ALIAS(freopen, freopen64);

VELRIX_PRELOADED(FILE*, fdopen, int descriptor, const char* mode) {
    const ValueFiles::Opened opened(descriptor);
    return opened ? MakeStream(descriptor, mode) : nextFdopen(descriptor, mode);
}
