// SPDX-License-Identifier: Apache-2.0
#include "board/sandbox/Namespaces.h"

#include <cerrno>
#include <csignal>
#include <string>

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "board/base/BoardError.h"
#include "board/base/FileDescriptor.h"
#include "board/base/Refusal.h"

namespace VelrixBoard {

namespace {

void WriteProcFile(const char* path, const std::string& text) {
    const FileDescriptor file(::open(path, O_WRONLY | O_CLOEXEC));
    if (!file || ::write(file.Get(), text.data(), text.size()) != static_cast<ssize_t>(text.size()))
        throw BoardError(DescribeRefusal(std::string("writing ") + path, errno, ::geteuid()));
}

bool AreTerminalsOpenToTheUser() {
    return ::access("/dev/pts/ptmx", R_OK | W_OK) == 0;
}

} // namespace

pid_t ForkIntoNamespaces(bool ownNumbers) {
    // The raw system call with a null stack behaves like fork. On all supported architectures the flags are its first
    // argument.
    const long flags = CLONE_NEWUSER | CLONE_NEWNS | (ownNumbers ? CLONE_NEWPID : 0) | SIGCHLD;
    const long child = ::syscall(SYS_clone, flags, 0, 0, 0, 0);
    if (child < 0)
        throw BoardError(DescribeRefusal("clone", errno, ::geteuid()));
    return static_cast<pid_t>(child);
}

void MapIds(uid_t user, gid_t group, bool asRoot) {
    // An ordinary user must disable setgroups before mapping a group.
    WriteProcFile("/proc/self/setgroups", "deny");
    WriteProcFile("/proc/self/uid_map", std::to_string(asRoot ? 0 : user) + " " + std::to_string(user) + " 1\n");
    WriteProcFile("/proc/self/gid_map", std::to_string(asRoot ? 0 : group) + " " + std::to_string(group) + " 1\n");
}

void DetachMounts() {
    if (::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
        throw BoardError(DescribeRefusal("detaching mounts", errno, ::geteuid()));
}

void MakePseudoTerminals() {
    const bool onTerminal = ::isatty(STDIN_FILENO) == 1 || ::isatty(STDOUT_FILENO) == 1 || ::isatty(STDERR_FILENO) == 1;
    // If the kernel refuses, programs have no pseudo-terminals.
    if (!AreTerminalsOpenToTheUser() && !onTerminal)
        (void)::mount("devpts", "/dev/pts", "devpts", MS_NOSUID | MS_NOEXEC, "newinstance,ptmxmode=0666,mode=0620");
    if (!AreTerminalsOpenToTheUser())
        return;
    ::umount2("/dev/ptmx", MNT_DETACH);
    ::unlink("/dev/ptmx");
    (void)!::symlink("pts/ptmx", "/dev/ptmx");
}

} // namespace VelrixBoard
