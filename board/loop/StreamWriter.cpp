// SPDX-License-Identifier: Apache-2.0
#include "board/loop/StreamWriter.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <string>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

namespace VelrixBoard {

namespace {

constexpr int FLAGS = O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;

// O_NONBLOCK belongs to the open file description, which the program and the shell share, so the board opens the stream
// again. A terminal of another user, as after su, can only be opened as the controlling terminal.
FileDescriptor OpenAgain(int stream, const struct stat& status) {
    FileDescriptor again(::open(("/proc/self/fd/" + std::to_string(stream)).c_str(), FLAGS));
    if (again || !S_ISCHR(status.st_mode))
        return again;
    struct stat terminal {};
    again = FileDescriptor(::open("/dev/tty", FLAGS));
    if (again && ::isatty(stream) == 1 && ::fstat(again.Get(), &terminal) == 0 && ::tcgetsid(stream) == ::getsid(0))
        return again;
    return {};
}

} // namespace

StreamWriter::StreamWriter(int openStream) : stream(openStream) {
    struct stat status {};
    if (::fstat(stream, &status) != 0)
        return;
    isSocket = S_ISSOCK(status.st_mode);
    // A regular file never blocks; opened again, it would be overwritten from its beginning.
    if (S_ISFIFO(status.st_mode) || S_ISCHR(status.st_mode)) {
        own = OpenAgain(stream, status);
        canBlock = !own;
    }
}

void StreamWriter::Write(std::string_view text) {
    waiting.Add(text);
    Run(BoardTime::zero());
}

int StreamWriter::Descriptor() const {
    if (waiting.IsEmpty())
        return -1;
    return own ? own.Get() : stream;
}

void StreamWriter::Run(BoardTime) {
    if (waiting.IsEmpty())
        return;
    const ssize_t written = WriteSome();
    if (written > 0)
        waiting.Remove(static_cast<std::size_t>(written));
    else if (written < 0 && errno != EAGAIN && errno != EINTR)
        waiting.Clear();
}

bool StreamWriter::Finish(const Patience& patience) {
    constexpr int LIMIT_MS = std::chrono::milliseconds(READER_LIMIT).count();
    while (!IsWritten()) {
        std::vector<pollfd> waits = {{Descriptor(), POLLOUT, 0}};
        for (const int descriptor : patience.descriptors)
            waits.push_back({descriptor, POLLIN, 0});
        const int ready = ::poll(waits.data(), waits.size(), patience.isStopped() ? 0 : LIMIT_MS);
        if (ready == 0 || (ready < 0 && errno != EINTR))
            return false;
        if (ready > 0 && waits[0].revents != 0)
            Run(BoardTime::zero());
        else if (patience.isStopped())
            return false;
    }
    return true;
}

ssize_t StreamWriter::WriteSome() const {
    const std::string& text = waiting.Text();
    if (isSocket)
        return ::send(stream, text.data(), text.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    if (own)
        return ::write(own.Get(), text.data(), text.size());
    if (!canBlock)
        return ::write(stream, text.data(), text.size());
    // A pipe of another user, as behind sudo: when poll reports room, it takes PIPE_BUF bytes without blocking.
    pollfd room{stream, POLLOUT, 0};
    if (::poll(&room, 1, 0) == 1)
        return ::write(stream, text.data(), std::min<std::size_t>(text.size(), PIPE_BUF));
    errno = EAGAIN;
    return -1;
}

} // namespace VelrixBoard
