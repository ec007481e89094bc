// SPDX-License-Identifier: Apache-2.0
#include "runtime/IO/Open.h"

#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

#include "runtime/Threading/Uncancelled.h"

namespace System::IO {

namespace {

constexpr int FIRST_OWN = STDERR_FILENO + 1;
constexpr int MODE = 0666; // before the umask

} // namespace

int Open(const char* name, int flags) {
    int descriptor;
    do
        descriptor = ::open(name, flags, MODE);
    while (descriptor < 0 && errno == EINTR);
    if (descriptor < 0 || descriptor >= FIRST_OWN)
        return descriptor;
    const Threading::Uncancelled uncancelled;
    const int moved = ::fcntl(descriptor, F_DUPFD_CLOEXEC, FIRST_OWN);
    const int error = errno;
    ::close(descriptor);
    errno = error;
    return moved;
}

} // namespace System::IO
