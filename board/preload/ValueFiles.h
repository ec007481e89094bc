// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

#include <sys/stat.h>
#include <sys/types.h>
#include <sys/uio.h>

#include "board/preload/Descriptors.h"
#include "board/preload/Names.h"

// What programs do with value files, carried out by the board. Each gives -1 and errno as the system call does.
namespace VelrixBoard::Preload::ValueFiles {

// A descriptor of this process that is a value file of its board, and what the board knows it by. False for all others.
// Begins the library's life if nothing did before.
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

// Makes the status of the empty file outside that of the value file.
void Adjust(const Names& names, const Name& value, struct stat& status);

// Whether this process may use the file so, by its mode: R_OK, W_OK and X_OK.
bool MayAccess(const Names& names, const Name& value, int mode);

// Whether an event waits that was not read yet.
bool HasEvent(int descriptor);

} // namespace VelrixBoard::Preload::ValueFiles
