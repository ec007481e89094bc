// SPDX-License-Identifier: Apache-2.0
#include "board/records/LogTail.h"

#include <algorithm>
#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace VelrixBoard {

namespace {

// How many of the bytes read last are compared. More than a few records, which can be equal in two runs.
constexpr std::size_t COMPARED_BYTES = 4096;

// Reads up to so many bytes from an offset; fewer at the end of the file.
std::string ReadAt(int file, std::size_t offset, std::size_t count) {
    std::string bytes(count, '\0');
    ssize_t length = 0;
    do
        length = ::pread(file, bytes.data(), bytes.size(), static_cast<off_t>(offset));
    while (length < 0 && errno == EINTR);
    bytes.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
    return bytes;
}

} // namespace

bool LogTail::Read() {
    bytesLeft = BYTES_PER_TURN;
    linesLeft = LINES_PER_TURN;
    if (file && ReadOn())
        return true;
    if (file && !IsReplaced())
        return false;
    EndLine();
    Open();
    return file && ReadOn();
}

bool LogTail::Finish(const std::function<bool()>& goesOn) {
    bool more = true;
    for (int turn = 0; more && turn < TURNS_AT_END; ++turn) {
        more = Read();
        if (more && !goesOn())
            break;
    }
    EndLine();
    return !more;
}

void LogTail::Open() {
    // O_NONBLOCK: open of a FIFO without a writer must not block.
    file = FileDescriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status {};
    if (file && (::fstat(file.Get(), &status) != 0 || !S_ISREG(status.st_mode)))
        file.Close();
    read = 0;
    last.clear();
}

bool LogTail::IsReplaced() const {
    struct stat held {};
    struct stat named {};
    return ::fstat(file.Get(), &held) != 0 || ::stat(path.c_str(), &named) != 0 || held.st_dev != named.st_dev ||
           held.st_ino != named.st_ino;
}

bool LogTail::IsOverwritten() const {
    return ReadAt(file.Get(), read - last.size(), last.size()) != last;
}

// True when the turn's limit came before the end of the file.
bool LogTail::ReadOn() {
    if (IsOverwritten()) {
        EndLine();
        read = 0;
        last.clear();
    }
    std::string added = ReadAt(file.Get(), read, bytesLeft);
    added.resize(Pass(added));
    bytesLeft -= added.size();
    read += added.size();
    last += added;
    last.erase(0, last.size() - std::min(last.size(), COMPARED_BYTES));
    return bytesLeft == 0 || linesLeft == 0;
}

void LogTail::EndLine() {
    if (rest.empty())
        return;
    action(rest);
    rest.clear();
    cut = false;
}

// Returns how many of these bytes fit into the turn's limit.
std::size_t LogTail::Pass(std::string_view added) {
    const std::size_t size = added.size();
    for (std::size_t end; (end = added.find('\n')) != std::string_view::npos; added.remove_prefix(end + 1)) {
        if (linesLeft == 0)
            return size - added.size();
        --linesLeft;
        Collect(added.substr(0, end));
        action(rest);
        rest.clear();
        cut = false;
    }
    Collect(added);
    return size;
}

void LogTail::Collect(std::string_view part) {
    if (cut)
        return;
    cut = part.size() > LONGEST_LINE - rest.size();
    rest += part.substr(0, LONGEST_LINE - rest.size());
    if (cut)
        rest += CUT;
}

} // namespace VelrixBoard
