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

// What ReadByte reads at once. Most files that are read byte by byte fit into one block.
constexpr int BLOCK_SIZE = 8192;

int FlagsOf(FileMode mode, FileAccess access) {
    // A terminal among the paths must not become the one that controls the process.
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

// The exceptions of the operations that are called all the time are made out of line: their objects would have every
// call set up and check a guarded stack.

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

// The part of the buffer that an operation was told to use.
inline unsigned char* PartOf(const std::shared_ptr<IArray<unsigned char>>& buffer, int offset, int count) {
    if (!buffer)
        RaiseBadPart(buffer, offset);
    const int length = buffer->Length();
    // As unsigned numbers, so that a negative one is too great as well.
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
    // The system would take the part before the zero for the whole path.
    if (name.find('\0') != std::string::npos)
        RaiseIO("Cannot open", path, EINVAL);

    // The object first: once the file is open nothing may fail without somebody to close it.
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
    // A reader leaves a known place to the next read, which names its place itself: who reads a value file again and
    // again makes one system call each time.
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

    // Everything else than a reader's known place is a matter between the system and its own offset, which stands
    // behind what was read ahead.
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

    // No more than what is at hand: asking the system for the rest could wait for bytes that nobody has sent yet.
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
                    EIO); // a device that takes nothing and gives no reason would take nothing for ever
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
    // Whatever close answers, the descriptor is gone: to try again could close a file that another thread just opened.
    // Its failure is still one of the file's: some file systems tell only here that what was written did not arrive.
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
