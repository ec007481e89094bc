// SPDX-License-Identifier: Apache-2.0
// The C library's streams on value files. A stream reads and writes inside of the C library, past this one; so that of
// a value file is made with functions of its own.
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

// The flags that a mode of fopen stands for; -1 for what is none.
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

// A stream goes by the number of its descriptor, which the program may have made another file since.
int DescriptorOf(void* cookie) {
    return static_cast<int>(reinterpret_cast<std::intptr_t>(cookie));
}

ssize_t ReadStream(void* cookie, char* buffer, std::size_t size) {
    return ::read(DescriptorOf(cookie), buffer, size);
}

// The C library takes everything but the whole size for an error.
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

// A stream of the value file; null and errno without memory for it.
FILE* MakeStream(int descriptor, const char* mode, cookie_close_function_t* close = CloseStream) {
    const cookie_io_functions_t functions = {ReadStream, WriteStream, SeekStream, close};
    // Of the mode it takes what matters here alone.
    const char plain[] = {mode[0], std::strchr(mode, '+') != nullptr ? '+' : '\0', '\0'};
    FILE* const stream =
        ::fopencookie(reinterpret_cast<void*>(static_cast<std::intptr_t>(descriptor)), plain, functions);
    // fileno gives it; the stream's functions are called before anything is done to the descriptor.
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
    // It is no value file but for a directory with such a name, or while the board ends.
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

// The stream that stands in for a standard one, and the program's own. The descriptor's number is the index.
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

// The program has closed it, so its own is what there is.
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

// The value file gets the stream's descriptor. A standard stream is exchanged by that. Any other cannot be, since the
// program keeps its address: what is written there are values that nobody answers, and it cannot be read.
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
    // What stands in becomes an ordinary stream, and the program's.
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

// The child of a vfork has its parent's streams.
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
