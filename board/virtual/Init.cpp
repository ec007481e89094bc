// SPDX-License-Identifier: Apache-2.0
#include "board/virtual/Init.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <exception>
#include <string>
#include <system_error>

#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "board/virtual/FuseFiles.h"
#include "board/virtual/Namespaces.h"
#include "board/virtual/PseudoTerminals.h"
#include "board/virtual/Skeleton.h"

namespace VelrixBoard {

namespace {

// How long after the program's end its children may still run. A program that calls for a reboot and ends at once
// leaves the call to a child, which must come to its end; a daemon that was left behind must not hold the board for
// long.
constexpr long long GRACE_NS = 1'000'000'000;

void Send(int socket, InitMessage::Kind kind, int status, const std::string& text, int descriptor) {
    InitMessage message{kind, status, {}};
    std::strncpy(message.text, text.c_str(), sizeof message.text - 1);
    iovec part{&message, sizeof message};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof descriptor)] = {};
    msghdr header{};
    header.msg_iov = &part;
    header.msg_iovlen = 1;
    if (descriptor >= 0) {
        header.msg_control = control;
        header.msg_controllen = sizeof control;
        cmsghdr* attached = CMSG_FIRSTHDR(&header);
        attached->cmsg_level = SOL_SOCKET;
        attached->cmsg_type = SCM_RIGHTS;
        attached->cmsg_len = CMSG_LEN(sizeof descriptor);
        std::memcpy(CMSG_DATA(attached), &descriptor, sizeof descriptor);
    }
    // The board may be gone; then this process is about to be killed.
    (void)::sendmsg(socket, &header, MSG_NOSIGNAL);
}

void MakeBoard(const InitPlan& plan, const std::filesystem::path& workingDirectory, int socket) {
    MapIds(plan.user, plan.group, plan.asRoot);
    DetachMounts();
    {
        // Opened here, because the kernel mounts only what was opened in the same user namespace; and closed here,
        // because a program that held it would keep the file system alive after the board.
        const FileDescriptor connection =
            MountFuse(plan.device, {plan.asRoot ? 0 : plan.user, plan.asRoot ? 0 : plan.group});
        Send(socket, InitMessage::Kind::MOUNTED, 0, "", connection.Get());
    }
    Skeleton(plan.stage).Mount(plan.placements);
    // What was bound from here stays.
    ::umount2(plan.device.c_str(), MNT_DETACH);
    MakePseudoTerminals();
    // Refused where the machine's own /proc is partly masked. Then that one stays, whose process numbers are the
    // machine's.
    (void)::mount("proc", "/proc", "proc", MS_NOSUID | MS_NODEV | MS_NOEXEC, nullptr);
    // A working directory inside a covered one would still be that of the machine.
    if (::chdir(workingDirectory.c_str()) != 0 && ::chdir("/") != 0)
        std::abort();
}

[[noreturn]] void RunProgram(const Program& program, const sigset_t& signalMask) {
    if (program.standardOutput >= 0)
        ::dup2(program.standardOutput, STDOUT_FILENO);
    if (program.standardError >= 0)
        ::dup2(program.standardError, STDERR_FILENO);
    ::sigprocmask(SIG_SETMASK, &signalMask, nullptr);
    std::exit(program.main());
}

long long NowNs() {
    timespec now;
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * 1'000'000'000LL + now.tv_nsec;
}

// Reaps children until none is left, for as long as they may still run.
void WaitForOthers() {
    sigset_t childSignal;
    sigemptyset(&childSignal);
    sigaddset(&childSignal, SIGCHLD);
    const long long end = NowNs() + GRACE_NS;
    for (;;) {
        pid_t ended = 0;
        while ((ended = ::waitpid(-1, nullptr, WNOHANG)) > 0) {
        }
        const long long left = end - NowNs();
        if (ended < 0 || left <= 0)
            return;
        const timespec wait{static_cast<time_t>(left / 1'000'000'000), static_cast<long>(left % 1'000'000'000)};
        ::sigtimedwait(&childSignal, nullptr, &wait);
    }
}

} // namespace

bool ReceiveInitMessage(int socket, InitMessage& message, FileDescriptor& attached) {
    iovec part{&message, sizeof message};
    int descriptor = -1;
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof descriptor)];
    msghdr header{};
    header.msg_iov = &part;
    header.msg_iovlen = 1;
    header.msg_control = control;
    header.msg_controllen = sizeof control;
    if (::recvmsg(socket, &header, MSG_CMSG_CLOEXEC) != static_cast<ssize_t>(sizeof message))
        return false;
    if (const cmsghdr* rights = CMSG_FIRSTHDR(&header)) {
        std::memcpy(&descriptor, CMSG_DATA(rights), sizeof descriptor);
        attached = FileDescriptor(descriptor);
    }
    return true;
}

void RunInit(const InitPlan& plan, const Program& program, FileDescriptor socket) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    // A board that died before that line was reached would leave this process behind; then the byte does not come.
    char byte = 0;
    if (::read(socket.Get(), &byte, 1) != 1)
        ::_exit(0);

    std::error_code error;
    try {
        MakeBoard(plan, std::filesystem::current_path(error), socket.Get());
    } catch (const std::exception& exception) {
        Send(socket.Get(), InitMessage::Kind::FAILED, 0, exception.what(), -1);
        ::_exit(1);
    }

    // SIGCHLD must stay pending for WaitForOthers.
    sigset_t all;
    sigfillset(&all);
    ::sigprocmask(SIG_BLOCK, &all, nullptr);
    const pid_t child = ::fork();
    if (child < 0) {
        Send(socket.Get(), InitMessage::Kind::FAILED, 0,
             std::string("cannot start the program: ") + std::strerror(errno), -1);
        ::_exit(1);
    }
    if (child == 0) {
        socket.Close();
        RunProgram(program, plan.signalMask);
    }
    const FileDescriptor process(static_cast<int>(::syscall(SYS_pidfd_open, child, 0)));
    Send(socket.Get(), InitMessage::Kind::STARTED, 0, "", process.Get());

    // The program may stop and go on; only its end counts. What it orphans comes to this process too.
    int status = 0;
    for (pid_t ended = 0; ended != child;)
        ended = ::waitpid(-1, &status, 0);
    Send(socket.Get(), InitMessage::Kind::ENDED, status, "", -1);
    WaitForOthers();
    ::_exit(0);
}

} // namespace VelrixBoard
