// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include <System/Collections/Generic/Array.h>
#include <System/Export.h>
#include <System/IO/Exceptions.h>
#include <System/Object.h>
#include <System/String.h>

namespace System::IO {

// OPEN: the file must exist; it is neither created nor truncated. APPEND: created if missing (0666 less the umask), and
// every write goes to the end, whoever else writes.
enum class FileMode { OPEN, APPEND };

enum class FileAccess { READ, WRITE };

// What the offset of a Seek counts from.
enum class SeekOrigin { BEGIN, CURRENT, END };

// An open file: a regular file, a value file of sysfs, a FIFO or a device.
//
// Made by Create, closed by Close or with the last shared pointer; always close-on-exec. Writes are unbuffered. Every
// failure of the system is an IOException that names the path and the reason. After Close every operation but Close
// throws ObjectDisposedException. One thread at a time.
class SYSTEM_EXPORT FileStream final : public Object {
public:
    // Opens path. A null path: ArgumentNullException "path". A missing file: FileNotFoundException; one that may not be
    // opened: UnauthorizedAccessException; a folder: IOException with EISDIR.
    static std::shared_ptr<FileStream> Create(string_ptr path, FileMode mode, FileAccess access);
    ~FileStream() override;

    // Moves to offset bytes from origin and returns the new position from the beginning. A position before the
    // beginning: ArgumentOutOfRangeException "offset", nothing changed. On a file without a position this, or the Read
    // after it, throws IOException. A Read after a Seek to a known place is one system call, not two.
    long long Seek(long long offset, SeekOrigin origin);

    // Reads up to count bytes into buffer from index offset on; returns how many came, 0 at the end. Asks the system
    // for no more than that. A range outside of the buffer: ArgumentOutOfRangeException; a stream for writing:
    // NotSupportedException.
    int Read(const std::shared_ptr<Collections::Generic::IArray<unsigned char>>& buffer, int offset, int count);

    // The next byte, 0 to 255, or -1 at the end. Reads ahead in blocks; Seek and Read agree with it on the position.
    int ReadByte() { return nextByte != lastByte ? *nextByte++ : ReadBlock(); }

    // Writes count bytes of buffer from index offset on, all of them, before it returns. When the system fails
    // half-way, the bytes that it took are in the file and the rest is not. A write to a FIFO that nobody reads raises
    // SIGPIPE as everywhere, which is the application's to handle. Ranges and streams as for Read.
    void Write(const std::shared_ptr<Collections::Generic::IArray<unsigned char>>& buffer, int offset, int count);

    // Closes the file. A second call does nothing.
    void Close();

private:
    FileStream(string_ptr ownPath, FileAccess ownAccess, int ownDescriptor) noexcept;

    long long SeekElsewhere(long long offset, SeekOrigin origin);
    int ReadBlock();
    int ReadSome(void* target, int count);
    void CheckUse(FileAccess needed) const;

    const string_ptr path;
    const FileAccess access;
    int descriptor; // -1 when closed
    long long position =
        -1; // where the next read of the system begins, when this stream keeps count; -1: the system does
    const unsigned char* nextByte = nullptr; // what was read ahead and not yet served: from nextByte to lastByte
    const unsigned char* lastByte = nullptr;
    std::unique_ptr<unsigned char[]> block; // made by the first ReadByte
};

} // namespace System::IO
