// SPDX-License-Identifier: Apache-2.0
#include "board/preload/ValueFiles.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>

#include <fcntl.h>
#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "board/preload/Conversation.h"
#include "board/preload/Kernel.h"
#include "board/preload/Streams.h"

namespace VelrixBoard::Preload::ValueFiles {

namespace {

// The kernel reports it for every file that a 64-bit program opens.
constexpr int LARGE_FILE = 0100000;

int Fail(int error) {
    errno = error;
    return -1;
}

Request MakeRequest(const Opened& opened, Operation operation) {
    Request request{};
    request.operation = operation;
    request.open = opened.File().open;
    request.file = opened.File().file;
    return request;
}

std::int64_t Ask(const Opened& opened, const Request& request) {
    Transfer nothing;
    return Preload::Ask(opened.List(), request, nothing);
}

// A transfer of 0 bytes, but the access mode must allow it.
ssize_t TransferNothing(const Opened& opened, int wrongAccess) {
    const int flags = Flags(opened);
    if (flags < 0)
        return -1;
    return (flags & O_ACCMODE) == wrongAccess ? Fail(EBADF) : 0;
}

// Consumes a pending event; its number, or 0.
std::uint64_t TakeEvent(int descriptor) {
    const Kernel::KeptErrno kept;
    Event event;
    iovec part{&event, sizeof event};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    return Kernel::Receive(descriptor, message, MSG_DONTWAIT) == sizeof event ? event.number : 0;
}

// The sum of the parts' sizes; -1 where the kernel returns EINVAL.
ssize_t TotalSize(const iovec* parts, int count) {
    if (count < 0 || count > IOV_MAX)
        return Fail(EINVAL);
    std::size_t total = 0;
    for (int i = 0; i < count; ++i) {
        if (parts[i].iov_len > SSIZE_MAX - total)
            return Fail(EINVAL);
        total += parts[i].iov_len;
    }
    return static_cast<ssize_t>(total);
}

} // namespace

int Open(const Names& names, const Name& value, int flags) {
    if ((flags & O_DIRECTORY) != 0)
        return Fail(ENOTDIR);
    Request request{};
    request.operation = Operation::OPEN;
    request.file = value.file;
    request.flags = static_cast<std::uint32_t>(flags);
    Transfer transfer;
    transfer.closesOnExec = (flags & O_CLOEXEC) != 0;
    transfer.isCancellable = true;
    const std::int64_t result = Preload::Ask(names, request, transfer);
    if (result < 0)
        return -1;
    // The kernel drops the descriptor when no number is free.
    if (transfer.descriptor < 0)
        return Fail(EMFILE);
    Descriptors::Take(names, transfer.descriptor);
    FollowStandardStream(transfer.descriptor);
    return transfer.descriptor;
}

ssize_t Read(const Opened& opened, void* buffer, std::size_t size, std::int64_t offset) {
    if (offset < AT_POSITION)
        return Fail(EINVAL);
    if (size == 0)
        return TransferNothing(opened, O_WRONLY);
    Request request = MakeRequest(opened, Operation::READ);
    request.offset = offset;
    request.size = static_cast<std::uint32_t>(std::min(size, PAGE));
    Transfer transfer;
    transfer.buffer = buffer;
    transfer.bufferSize = request.size;
    transfer.isCancellable = true;
    const std::int64_t result = Preload::Ask(opened.List(), request, transfer);
    if (result < 0 || TakeEvent(opened.Descriptor()) <= transfer.event)
        return static_cast<ssize_t>(result);
    // Race: the level changed after the read, and its event is consumed; read the new level.
    if (offset == AT_POSITION && result > 0 && Seek(opened, -result, SEEK_CUR) < 0)
        return static_cast<ssize_t>(result);
    return static_cast<ssize_t>(Preload::Ask(opened.List(), request, transfer));
}

ssize_t Read(const Opened& opened, const iovec* parts, int count, std::int64_t offset) {
    const ssize_t total = TotalSize(parts, count);
    if (total < 0)
        return -1;
    char buffer[PAGE];
    const ssize_t size = Read(opened, buffer, std::min(static_cast<std::size_t>(total), PAGE), offset);
    std::size_t done = 0;
    for (int i = 0; i < count && size > 0; ++i) {
        const std::size_t part = std::min(parts[i].iov_len, static_cast<std::size_t>(size) - done);
        std::memcpy(parts[i].iov_base, buffer + done, part);
        done += part;
    }
    return size;
}

ssize_t Write(const Opened& opened, const void* text, std::size_t size, std::int64_t offset) {
    if (offset < AT_POSITION)
        return Fail(EINVAL);
    if (size == 0)
        return TransferNothing(opened, O_RDONLY);
    Request request = MakeRequest(opened, Operation::WRITE);
    request.offset = offset;
    Transfer transfer;
    transfer.text = text;
    transfer.textSize = std::min(size, PAGE);
    transfer.isCancellable = true;
    request.size = static_cast<std::uint32_t>(transfer.textSize);
    return static_cast<ssize_t>(Preload::Ask(opened.List(), request, transfer));
}

ssize_t Write(const Opened& opened, const iovec* parts, int count, std::int64_t offset) {
    if (TotalSize(parts, count) < 0)
        return -1;
    char text[PAGE];
    std::size_t size = 0;
    for (int i = 0; i < count; ++i) {
        const std::size_t part = std::min(parts[i].iov_len, PAGE - size);
        std::memcpy(text + size, parts[i].iov_base, part);
        size += part;
    }
    return Write(opened, text, size, offset);
}

std::int64_t Seek(const Opened& opened, std::int64_t offset, int whence) {
    constexpr auto END = static_cast<std::int64_t>(PAGE);
    if (whence == SEEK_DATA || whence == SEEK_HOLE) {
        if (offset < 0 || offset >= END)
            return Fail(ENXIO);
        offset = whence == SEEK_HOLE ? END : offset;
        whence = SEEK_SET;
    }
    if (whence != SEEK_SET && whence != SEEK_CUR && whence != SEEK_END)
        return Fail(EINVAL);
    Request request = MakeRequest(opened, Operation::SEEK);
    request.offset = offset;
    request.flags = static_cast<std::uint32_t>(whence);
    return Ask(opened, request);
}

int Truncate(const Opened& opened, std::int64_t size) {
    const int flags = size < 0 ? 0 : Flags(opened);
    if (flags < 0)
        return -1;
    return (flags & O_ACCMODE) == O_RDONLY ? Fail(EINVAL) : 0;
}

int Flags(const Opened& opened) {
    const std::int64_t flags = Ask(opened, MakeRequest(opened, Operation::STATUS));
    return flags < 0 ? -1 : static_cast<int>(flags) | LARGE_FILE;
}

int SetFlags(const Opened& opened, int flags) {
    Request request = MakeRequest(opened, Operation::FLAGS);
    request.flags = static_cast<std::uint32_t>(flags);
    return Ask(opened, request) < 0 ? -1 : 0;
}

int Status(const Opened& opened, struct stat& status) {
    const Name* const value = opened.List().Value(opened.File().file);
    char path[PATH_MAX];
    if (value == nullptr || value->insideLength >= sizeof path)
        return Fail(ENODEV);
    std::memcpy(path, value->inside, value->insideLength + 1);
    const Place place = opened.List().Find(path, value->insideLength);
    if (place.name == nullptr || opened.List().ToOutside(place, path, value->insideLength, sizeof path) == 0)
        return Fail(ENOENT);
    if (Kernel::Status(path, true, status) != 0)
        return -1;
    Adjust(opened.List(), *value, status);
    return 0;
}

void Adjust(const Names& names, const Name& value, struct stat& status) {
    status.st_mode = S_IFREG | value.mode;
    status.st_uid = names.IsRoot() ? 0 : Kernel::EffectiveUser();
    status.st_gid = names.IsRoot() ? 0 : Kernel::EffectiveGroup();
    status.st_nlink = 1;
    status.st_size = PAGE;
    status.st_blksize = PAGE;
    status.st_blocks = 0;
}

bool MayAccess(const Names& names, const Name& value, int mode) {
    if (names.IsRoot() || Kernel::EffectiveUser() == 0)
        return (mode & X_OK) == 0 || (value.mode & 0111) != 0;
    const auto wanted = static_cast<std::uint32_t>(mode & (R_OK | W_OK | X_OK));
    return (wanted & ~(value.mode >> 6)) == 0;
}

bool HasEvent(int descriptor) {
    const Kernel::KeptErrno kept;
    pollfd wait{descriptor, POLLIN, 0};
    const timespec now{};
    return ::syscall(SYS_ppoll, &wait, 1, &now, nullptr, 0) > 0 && (wait.revents & POLLIN) != 0;
}

} // namespace VelrixBoard::Preload::ValueFiles
