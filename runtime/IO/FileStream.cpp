// SPDX-License-Identifier: Apache-2.0
#include <System/IO/FileStream.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <string>
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
    // A terminal must not become the controlling terminal.
    int flags = O_CLOEXEC | O_NOCTTY;
    switch (mode) {
    case FileMode::OPEN:
        break;
    case FileMode::APPEND:
        flags |= O_APPEND | O_CREAT;
        break;
    default:
        throw ArgumentOutOfRangeException("mode");
    }
    switch (access) {
    case FileAccess::READ:
        return flags | O_RDONLY;
    case FileAccess::WRITE:
        return flags | O_WRONLY;
    default:
        throw ArgumentOutOfRangeException("access");
    }
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

int WhenceOf(SeekOrigin origin) {
    switch (origin) {
    case SeekOrigin::BEGIN:
        return SEEK_SET;
    case SeekOrigin::CURRENT:
        return SEEK_CUR;
    case SeekOrigin::END:
        return SEEK_END;
    default:
        RaiseOutOfRange("origin");
    }
}

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
    const std::string name = path->ToUtf8();
    // The system would cut the path at the zero.
    if (name.find('\0') != std::string::npos)
        RaiseIO("Cannot open", path, EINVAL);

    // Allocate first: after open nothing may throw before the descriptor has an owner.
    const auto stream = Own(new FileStream(std::move(path), access, -1));
    stream->descriptor = Open(name.c_str(), flags);
    if (stream->descriptor < 0)
        RaiseIO("Cannot open", stream->path, errno);

    // The system refuses a folder only when it is opened for writing.
    if (access == FileAccess::READ) {
        struct stat status;
        if (::fstat(stream->descriptor, &status) != 0)
            RaiseIO("Cannot open", stream->path, errno);
        if (S_ISDIR(status.st_mode))
            RaiseIO("Cannot open", stream->path, EISDIR);
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
    const int whence = WhenceOf(origin);
    const std::ptrdiff_t ahead = lastByte - nextByte;

    long long target = offset;
    bool known = origin == SeekOrigin::BEGIN;
    if (origin == SeekOrigin::CURRENT && position >= 0) {
        known = true;
        if (__builtin_add_overflow(position - ahead, offset, &target))
            RaiseOutOfRange("offset");
    }
    if (known && target < 0)
        RaiseOutOfRange("offset");

    // Every other case uses the system's file offset, which is behind the read-ahead.
    if (!known || access == FileAccess::WRITE) {
        if (origin == SeekOrigin::CURRENT && __builtin_sub_overflow(offset, ahead, &offset))
            RaiseOutOfRange("offset");
        target = ::lseek(descriptor, offset, whence);
        if (target < 0) {
            if (errno == EINVAL)
                RaiseOutOfRange("offset");
            RaiseIO("Cannot seek", path, errno);
        }
    }
    if (access == FileAccess::READ)
        position = target;
    nextByte = lastByte;
    return target;
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
