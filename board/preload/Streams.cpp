// SPDX-License-Identifier: Apache-2.0
// The C library's streams on value files. A stream reads and writes inside of the C library, past this one; so that of
// a value file is made with functions of its own.
#include "board/preload/Streams.h"

#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

#include "board/preload/Kernel.h"
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
FILE* MakeStream(int descriptor, const char* mode) {
    constexpr cookie_io_functions_t FUNCTIONS = {ReadStream, WriteStream, SeekStream, CloseStream};
    // Of the mode it takes what matters here alone.
    const char plain[] = {mode[0], std::strchr(mode, '+') != nullptr ? '+' : '\0', '\0'};
    FILE* const stream =
        ::fopencookie(reinterpret_cast<void*>(static_cast<std::intptr_t>(descriptor)), plain, FUNCTIONS);
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

bool IsMade(const Path& led) {
    return led.Value() != nullptr || led.IsInTree();
}

FILE* Open(const char* path, const char* mode) {
    return WithPath(path, Follow::YES,
                    [=](const Path& led) { return IsMade(led) ? OpenStream(led, mode) : nextFopen(led.Text(), mode); });
}

FILE** StandardStream(const FILE* stream) {
    for (FILE** standard : {&stdin, &stdout, &stderr})
        if (*standard == stream)
            return standard;
    return nullptr;
}

// A standard stream is exchanged for another with the same descriptor. Any other cannot be, since the program keeps its
// address: the value file gets the stream's descriptor, and what is written there are values that nobody answers.
FILE* Reopen(const Path& led, const char* mode, FILE* stream) {
    const int flags = FlagsOf(mode);
    FILE** const standard = StandardStream(stream);
    const int old = ::fileno(stream);
    if (flags < 0 || old < 0 || (standard == nullptr && (flags & O_ACCMODE) != O_WRONLY)) {
        errno = flags < 0 ? EINVAL : ENOTSUP;
        nextFclose(stream);
        return nullptr;
    }
    std::fflush(stream);
    const int descriptor = OpenLed(led, flags, 0666);
    if (descriptor < 0 || ::dup3(descriptor, old, flags & O_CLOEXEC) < 0) {
        const Kernel::KeptErrno kept;
        nextFclose(stream);
        if (descriptor >= 0)
            ::close(descriptor);
        return nullptr;
    }
    ::close(descriptor);
    if (standard == nullptr)
        return stream;
    FILE* const made = MakeStream(old, mode);
    return made == nullptr ? nullptr : *standard = made;
}

FILE* Reopened(const char* path, const char* mode, FILE* stream) {
    if (path == nullptr)
        return nextFreopen(path, mode, stream);
    const Path led(AT_FDCWD, path, Follow::YES);
    return led.Value() != nullptr ? Reopen(led, mode, stream) : nextFreopen(led.Text(), mode, stream);
}

void Exchange(FILE*& standard, int descriptor) {
    const Opened opened(descriptor);
    if (!opened)
        return;
    FILE* const stream = MakeStream(descriptor, descriptor == STDIN_FILENO ? "r" : "w");
    if (stream == nullptr)
        return;
    if (descriptor == STDERR_FILENO)
        std::setvbuf(stream, nullptr, _IONBF, 0);
    standard = stream;
}

} // namespace

void ExchangeStandardStreams() {
    const Kernel::KeptErrno kept;
    Exchange(stdin, STDIN_FILENO);
    Exchange(stdout, STDOUT_FILENO);
    Exchange(stderr, STDERR_FILENO);
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
