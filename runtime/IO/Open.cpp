// SPDX-License-Identifier: Apache-2.0
#include "runtime/IO/Open.h"

#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

#include "runtime/IO/RaiseIO.h"
#include "runtime/Threading/Uncancelled.h"

namespace System::IO {

namespace {

constexpr int FIRST_OWN = STDERR_FILENO + 1;
constexpr int MODE = 0666; // before the umask

} // namespace

int Open(const string_ptr& path, const std::string& name, int flags) {
    // The system would take the part before the zero for the whole path.
    if (name.find('\0') != std::string::npos)
        RaiseIO("Cannot open", path, EINVAL);
    int descriptor;
    do
        descriptor = ::open(name.c_str(), flags, MODE);
    while (descriptor < 0 && errno == EINTR);
    if (descriptor < 0)
        RaiseIO("Cannot open", path, errno);
    if (descriptor >= FIRST_OWN)
        return descriptor;
    const Threading::Uncancelled uncancelled;
    const int moved = ::fcntl(descriptor, F_DUPFD_CLOEXEC, FIRST_OWN);
    const int error = errno;
    ::close(descriptor);
    if (moved < 0)
        RaiseIO("Cannot open", path, error);
    return moved;
}

} // namespace System::IO
