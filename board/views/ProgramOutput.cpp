// SPDX-License-Identifier: Apache-2.0
#include "board/views/ProgramOutput.h"

#include <array>
#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

#include "board/base/BoardError.h"

namespace VelrixBoard {

ProgramOutput::ProgramOutput(Reader outputReader) : reader(std::move(outputReader)) {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0)
        ThrowSystemError("cannot make a pipe for the program's output");
    reading = FileDescriptor(ends[0]);
    writing = FileDescriptor(ends[1]);
    ::fcntl(reading.Get(), F_SETFL, O_NONBLOCK);
}

bool ProgramOutput::ReadSome(BoardTime now) {
    if (!reading || !reader.takes())
        return false;
    std::array<char, BYTES_PER_TURN> buffer;
    const ssize_t length = ::read(reading.Get(), buffer.data(), buffer.size());
    if (length > 0)
        reader.print({buffer.data(), static_cast<std::size_t>(length)}, now);
    else if (length == 0)
        reading.Close();
    return length > 0 || (length < 0 && errno == EINTR);
}

} // namespace VelrixBoard
