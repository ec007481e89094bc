// SPDX-License-Identifier: Apache-2.0
#include <System/IO/FileStream.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <System/Exceptions.h>
#include <System/Raisers.h>

#include "runtime/IO/Open.h"
#include "runtime/IO/RaiseIO.h"
#include "runtime/Threading/Uncancelled.h"

namespace System::IO {

using Collections::Generic::IArray;

namespace {

// ReadByte's read-ahead. Most files that are read byte by byte fit into one block.
constexpr int BLOCK_SIZE = 8192;

int FlagsOf(FileMode mode, FileAccess access) {
    if (mode != FileMode::OPEN && mode != FileMode::APPEND)
        throw ArgumentOutOfRangeException("mode");
    if (access != FileAccess::READ && access != FileAccess::WRITE)
        throw ArgumentOutOfRangeException("access");
    // A terminal must not become the controlling terminal.
    return O_CLOEXEC | O_NOCTTY | (mode == FileMode::APPEND ? O_APPEND | O_CREAT : 0) |
           (access == FileAccess::WRITE ? O_WRONLY : O_RDONLY);
}

// Out of line: exception objects in a hot operation would make every call set up and check a stack guard.

[[noreturn, gnu::cold, gnu::noinline]] void RaiseOutOfRange(const char* name) {
    throw ArgumentOutOfRangeException(name);
}

[[noreturn, gnu::cold, gnu::noinline]] void RaiseBadPart(const std::shared_ptr<IArray<unsigned char>>& buffer,
                                                         int offset) {
    if (!buffer)
        _throw_argument_null_exception("buffer");
    RaiseOutOfRange(offset < 0 || offset > buffer->Length() ? "offset" : "count");
}

[[noreturn, gnu::cold, gnu::noinline]] void RaiseUnusable(const string_ptr& path, const int& descriptor,
                                                          FileAccess needed) {
    if (descriptor < 0)
        throw ObjectDisposedException("The file is closed: " + path);
    throw NotSupportedException(
        (needed == FileAccess::READ ? "The file is open for writing only: " : "The file is open for reading only: ") +
        path);
}

// So that an origin can be passed on to the system.
static_assert(static_cast<int>(SeekOrigin::BEGIN) == SEEK_SET && static_cast<int>(SeekOrigin::CURRENT) == SEEK_CUR &&
              static_cast<int>(SeekOrigin::END) == SEEK_END);

// The part of the buffer that an operation uses.
inline unsigned char* PartOf(const std::shared_ptr<IArray<unsigned char>>& buffer, int offset, int count) {
    if (!buffer)
        RaiseBadPart(buffer, offset);
    const int length = buffer->Length();
    // Unsigned, so that a negative number is too great as well.
    if (static_cast<unsigned>(offset) > static_cast<unsigned>(length) ||
        static_cast<unsigned>(count) > static_cast<unsigned>(length - offset))
        RaiseBadPart(buffer, offset);
    return buffer->Data() + offset;
}

} // namespace

std::shared_ptr<FileStream> FileStream::Create(string_ptr path, FileMode mode, FileAccess access) {
    if (!path)
        _throw_argument_null_exception("path");
    const int flags = FlagsOf(mode, access);
    // Allocate first: after open nothing may throw before the descriptor has an owner.
    const auto stream = Own(new FileStream(std::move(path), access, -1));
    stream->descriptor = Open(stream->path, stream->path->ToUtf8(), flags);

    // The system refuses a folder only when it is opened for writing.
    if (access == FileAccess::READ) {
        struct stat status;
        const bool isKnown = ::fstat(stream->descriptor, &status) == 0;
        if (!isKnown || S_ISDIR(status.st_mode))
            RaiseIO("Cannot open", stream->path, isKnown ? EISDIR : errno);
    }
    return stream;
}

FileStream::FileStream(string_ptr ownPath, FileAccess ownAccess, int ownDescriptor) noexcept
    : path(std::move(ownPath)), access(ownAccess), descriptor(ownDescriptor) {}

FileStream::~FileStream() {
    if (descriptor < 0)
        return;
    const Threading::Uncancelled uncancelled;
    ::close(descriptor);
}

inline void FileStream::CheckUse(FileAccess needed) const {
    if (descriptor < 0 || access != needed)
        RaiseUnusable(path, descriptor, needed);
}

inline int FileStream::ReadSome(void* target, int count) {
    const std::size_t size = static_cast<std::size_t>(count);
    for (;;) {
        if (position >= 0) {
            const ssize_t result = ::pread(descriptor, target, size, position);
            if (result >= 0) {
                position += result;
                return static_cast<int>(result);
            }
        } else {
            const ssize_t result = ::read(descriptor, target, size);
            if (result >= 0)
                return static_cast<int>(result);
        }
        if (errno != EINTR)
            RaiseIO("Cannot read", path, errno);
    }
}

long long FileStream::Seek(long long offset, SeekOrigin origin) {
    // A reader only remembers a known position; the next read passes it to pread: polling a value file costs one system
    // call per read.
    if (origin == SeekOrigin::BEGIN && offset >= 0 && access == FileAccess::READ && descriptor >= 0) {
        position = offset;
        nextByte = lastByte;
        return offset;
    }
    return SeekElsewhere(offset, origin);
}

long long FileStream::SeekElsewhere(long long offset, SeekOrigin origin) {
    CheckUse(access);
    if (origin < SeekOrigin::BEGIN || origin > SeekOrigin::END)
        RaiseOutOfRange("origin");
    if (origin == SeekOrigin::CURRENT) {
        // The system counts a position that this stream does not know, from behind the read-ahead.
        const long long here = std::max(position, 0LL) - (lastByte - nextByte);
        if (__builtin_add_overflow(here, offset, &offset))
            RaiseOutOfRange("offset");
        if (position >= 0)
            origin = SeekOrigin::BEGIN;
    }
    if (origin == SeekOrigin::BEGIN && offset < 0)
        RaiseOutOfRange("offset");
    if (origin != SeekOrigin::BEGIN || access == FileAccess::WRITE) {
        offset = ::lseek(descriptor, offset, static_cast<int>(origin));
        if (offset < 0) {
            if (errno == EINVAL)
                RaiseOutOfRange("offset");
            RaiseIO("Cannot seek", path, errno);
        }
    }
    if (access == FileAccess::READ)
        position = offset;
    nextByte = lastByte;
    return offset;
}

int FileStream::Read(const std::shared_ptr<IArray<unsigned char>>& buffer, int offset, int count) {
    CheckUse(FileAccess::READ);
    unsigned char* target = PartOf(buffer, offset, count);
    if (nextByte == lastByte)
        return ReadSome(target, count);

    // Only buffered bytes: reading the rest could block until someone sends more.
    const int served = static_cast<int>(std::min<std::ptrdiff_t>(count, lastByte - nextByte));
    std::memcpy(target, nextByte, static_cast<std::size_t>(served));
    nextByte += served;
    return served;
}

void FileStream::Write(const std::shared_ptr<IArray<unsigned char>>& buffer, int offset, int count) {
    CheckUse(FileAccess::WRITE);
    const unsigned char* source = PartOf(buffer, offset, count);
    while (count > 0) {
        const ssize_t written = ::write(descriptor, source, static_cast<std::size_t>(count));
        if (written > 0) {
            source += written;
            count -= static_cast<int>(written);
        } else if (written == 0) {
            RaiseIO("Cannot write", path,
                    EIO); // a device that takes 0 bytes would do so for ever
        } else if (errno != EINTR) {
            RaiseIO("Cannot write", path, errno);
        }
    }
}

void FileStream::Close() {
    if (descriptor < 0)
        return;
    nextByte = lastByte;
    const Threading::Uncancelled uncancelled;
    // close releases the descriptor even on failure: a retry could close a file that another thread has just opened.
    // The failure still counts: some file systems report lost writes only here.
    if (::close(std::exchange(descriptor, -1)) != 0 && errno != EINTR)
        RaiseIO("Cannot close", path, errno);
}

int FileStream::ReadBlock() {
    CheckUse(FileAccess::READ);
    if (!block)
        block.reset(new unsigned char[BLOCK_SIZE]);
    const int count = ReadSome(block.get(), BLOCK_SIZE);
    if (count == 0)
        return -1;
    nextByte = block.get();
    lastByte = nextByte + count;
    return *nextByte++;
}

} // namespace System::IO
