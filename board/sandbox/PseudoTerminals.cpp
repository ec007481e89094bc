// SPDX-License-Identifier: Apache-2.0
#include "board/sandbox/PseudoTerminals.h"

#include <sys/mount.h>
#include <unistd.h>

namespace VelrixBoard {

namespace {

bool AreOpenToTheUser() {
    return ::access("/dev/pts/ptmx", R_OK | W_OK) == 0;
}

} // namespace

void MakePseudoTerminals() {
    const bool onTerminal = ::isatty(STDIN_FILENO) == 1 || ::isatty(STDOUT_FILENO) == 1 || ::isatty(STDERR_FILENO) == 1;
    // If the kernel refuses, programs have no pseudo-terminals.
    if (!AreOpenToTheUser() && !onTerminal)
        (void)::mount("devpts", "/dev/pts", "devpts", MS_NOSUID | MS_NOEXEC, "newinstance,ptmxmode=0666,mode=0620");
    if (!AreOpenToTheUser())
        return;
    ::umount2("/dev/ptmx", MNT_DETACH);
    ::unlink("/dev/ptmx");
    (void)!::symlink("pts/ptmx", "/dev/ptmx");
}

} // namespace VelrixBoard
