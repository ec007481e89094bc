// SPDX-License-Identifier: Apache-2.0
#include "board/commands/StandardStreams.h"

#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

#include "board/commands/CommandArguments.h"

namespace VelrixBoard {

// open returns the lowest free number.
void OpenMissingStandardStreams() {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (::fcntl(stream, F_GETFD) < 0 && errno == EBADF && ::open("/dev/null", O_RDWR) != stream)
            ::_exit(BOARD_FAILED);
}

} // namespace VelrixBoard
