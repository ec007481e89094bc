// SPDX-License-Identifier: Apache-2.0
// Probes the permissions of its environment:
//
//     place-probe trace      whether a process can trace another one; the exit code is 0 or 1
//     place-probe refusals   one line per call that containers forbid: its name and its result
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <string_view>

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/personality.h>
#include <sys/ptrace.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

int Trace() {
    const pid_t process = ::fork();
    if (process < 0)
        return 1;
    if (process == 0) {
        if (::ptrace(PTRACE_TRACEME, 0, 0, 0) != 0) {
            std::printf("ptrace: %s\n", std::strerror(errno));
            std::fflush(stdout);
            ::_exit(1);
        }
        ::raise(SIGSTOP);
        ::_exit(0);
    }
    int status = 0;
    ::waitpid(process, &status, 0);
    if (!WIFSTOPPED(status))
        return 1;
    const bool goesOn = ::ptrace(PTRACE_SYSCALL, process, 0, 0) == 0;
    if (!goesOn)
        std::printf("ptrace: %s\n", std::strerror(errno));
    ::kill(process, SIGKILL);
    ::waitpid(process, &status, 0);
    return goesOn ? 0 : 1;
}

long Clone(int flags) {
    const long child = ::syscall(SYS_clone, flags | SIGCHLD, 0, 0, 0, 0);
    if (child == 0)
        ::_exit(0);
    if (child > 0)
        ::waitpid(static_cast<pid_t>(child), nullptr, 0);
    return child;
}

long Open(const char* path, int flags) {
    return ::open(path, flags | O_CLOEXEC);
}

// With harmless arguments, in case the call is allowed.
constexpr struct {
    const char* name;
    long (*call)();
} CALLS[] = {
    {"mount", [] { return static_cast<long>(::mount(nullptr, nullptr, nullptr, 0, nullptr)); }},
    {"umount2", [] { return static_cast<long>(::umount2("/proc/self/no-such-file", 0)); }},
    {"pivot_root", [] { return ::syscall(SYS_pivot_root, nullptr, nullptr); }},
    {"setns", [] { return static_cast<long>(::setns(-1, 0)); }},
    {"clone", [] { return Clone(0); }},
    {"clone with a user namespace", [] { return Clone(CLONE_NEWUSER); }},
    {"clone3", [] { return ::syscall(SYS_clone3, nullptr, 0); }},
    {"keyctl", [] { return ::syscall(SYS_keyctl, -1, 0, 0, 0, 0); }},
    {"bpf", [] { return ::syscall(SYS_bpf, -1, nullptr, 0); }},
    {"fsopen", [] { return ::syscall(SYS_fsopen, nullptr, 0); }},
    {"/dev/fuse", [] { return Open("/dev/fuse", O_RDWR); }},
    {"/dev/null", [] { return Open("/dev/null", O_RDWR); }},
    {"/dev/ptmx", [] { return Open("/dev/ptmx", O_RDWR); }},
    {"writing /proc/sys/kernel/hostname", [] { return Open("/proc/sys/kernel/hostname", O_WRONLY); }},
    {"a folder in /sys", [] { return static_cast<long>(::mkdir("/sys/class/velrix", 0755)); }},
    {"fixed addresses", [] { return static_cast<long>(::personality(ADDR_NO_RANDOMIZE)); }},
    // last, since its effect is permanent
    {"unshare", [] { return static_cast<long>(::unshare(CLONE_NEWUSER)); }},
};

int Refusals() {
    for (const auto& row : CALLS) {
        const long result = row.call();
        std::printf("%s: %s\n", row.name, result >= 0 ? "allowed" : ::strerrorname_np(errno));
    }
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    const std::string_view question = argc == 2 ? argv[1] : "";
    if (question == "trace")
        return Trace();
    if (question == "refusals")
        return Refusals();
    std::fprintf(stderr, "usage: place-probe trace|refusals\n");
    return 2;
}
