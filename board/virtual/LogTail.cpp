// SPDX-License-Identifier: Apache-2.0
#include "board/virtual/LogTail.h"

#include <algorithm>
#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace VelrixBoard {

namespace {

// How much of what was read is compared. Longer than a few records, which may well be the same in two runs.
constexpr std::size_t COMPARED_BYTES = 4096;

// Up to so many bytes from an offset on; fewer at the end of the file.
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

void LogTail::Read() {
    if (file)
        ReadOn();
    if (file && !IsReplaced())
        return;
    TellRest();
    Open();
    if (file)
        ReadOn();
}

void LogTail::Finish() {
    Read();
    TellRest();
}

void LogTail::Open() {
    // Not to wait for the writer of a pipe, which is no log.
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

void LogTail::ReadOn() {
    if (IsOverwritten()) {
        TellRest();
        read = 0;
        last.clear();
    }
    constexpr std::size_t PART = 65536;
    for (;;) {
        const std::string added = ReadAt(file.Get(), read, PART);
        if (added.empty())
            return;
        read += added.size();
        last += added;
        last.erase(0, last.size() - std::min(last.size(), COMPARED_BYTES));
        Tell(added);
    }
}

void LogTail::TellRest() {
    if (!rest.empty())
        Tell("\n");
}

void LogTail::Tell(std::string_view added) {
    rest += added;
    std::size_t begin = 0;
    for (std::size_t end; (end = rest.find('\n', begin)) != std::string::npos; begin = end + 1)
        action(std::string_view(rest).substr(begin, end - begin));
    rest.erase(0, begin);
}

} // namespace VelrixBoard
