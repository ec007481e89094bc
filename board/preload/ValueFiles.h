// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

#include <sys/stat.h>
#include <sys/types.h>
#include <sys/uio.h>

#include "board/preload/Descriptors.h"
#include "board/preload/Names.h"

// Operations on value files, executed by the board. Each returns -1 and errno like the system call.
namespace VelrixBoard::Preload::ValueFiles {

// The board's ids of a value file descriptor. False for other descriptors. Initialises the library if necessary.
class Opened final {
public:
    explicit Opened(int number) : names(Names::Current()), descriptor(number) {
        isValue = names != nullptr && Descriptors::Find(number, file);
    }
    explicit operator bool() const { return isValue; }

    const Names& List() const { return *names; }
    int Descriptor() const { return descriptor; }
    const ValueFile& File() const { return file; }

private:
    const Names* names;
    int descriptor;
    ValueFile file;
    bool isValue;
};

int Open(const Names& names, const Name& value, int flags);

// offset: AT_POSITION of Protocol.h or at least 0.
ssize_t Read(const Opened& opened, void* buffer, std::size_t size, std::int64_t offset);
ssize_t Read(const Opened& opened, const iovec* parts, int count, std::int64_t offset);
ssize_t Write(const Opened& opened, const void* text, std::size_t size, std::int64_t offset);
ssize_t Write(const Opened& opened, const iovec* parts, int count, std::int64_t offset);
std::int64_t Seek(const Opened& opened, std::int64_t offset, int whence);
int Truncate(const Opened& opened, std::int64_t size);

// As F_GETFL and F_SETFL.
int Flags(const Opened& opened);
int SetFlags(const Opened& opened, int flags);

int Status(const Opened& opened, struct stat& status);

// Turns the stat result of the empty file outside into that of the value file.
void Adjust(const Names& names, const Name& value, struct stat& status);

// access(2) by the file's mode: R_OK, W_OK and X_OK.
bool MayAccess(const Names& names, const Name& value, int mode);

// Whether an unread event is pending.
bool HasEvent(int descriptor);

} // namespace VelrixBoard::Preload::ValueFiles
