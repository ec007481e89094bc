// SPDX-License-Identifier: Apache-2.0
#include "board/sandbox/NamespaceEntry.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/statvfs.h>
#include <sys/wait.h>
#include <unistd.h>

#include "board/base/BoardError.h"
#include "board/sandbox/Namespaces.h"
#include "board/sandbox/Skeleton.h"

namespace VelrixBoard {

namespace fs = std::filesystem;

namespace {

// Mounts never block; the timeout is for a busy machine.
constexpr int TRIAL_LIMIT_MS = 20'000;

bool MountProc() {
    return ::mount("proc", "/proc", "proc", MS_NOSUID | MS_NODEV | MS_NOEXEC, nullptr) == 0;
}

// Read-only, since writes would change the machine: its power states, devices and sysctls.
constexpr const char* MACHINE_DEVICES = "/sys";
constexpr std::array MACHINE_SETTINGS = {"/proc/acpi", "/proc/bus",  "/proc/fs",  "/proc/irq",
                                         "/proc/mtrr", "/proc/scsi", "/proc/sys", "/proc/sysrq-trigger"};

// Keeps the machine's other mount flags, which the kernel does not allow to drop.
bool RemountReadOnly(const char* path) {
    struct statvfs status {};
    if (::statvfs(path, &status) != 0)
        return false;
    unsigned long flags = MS_BIND | MS_REMOUNT | MS_RDONLY;
    flags |= (status.f_flag & ST_NOSUID) != 0 ? MS_NOSUID : 0;
    flags |= (status.f_flag & ST_NODEV) != 0 ? MS_NODEV : 0;
    flags |= (status.f_flag & ST_NOEXEC) != 0 ? MS_NOEXEC : 0;
    return ::mount(nullptr, path, nullptr, flags, nullptr) == 0;
}

// This prevents mistakes, not attacks: a program that is root on its board can mount and unmount.
void MakeReadOnly(const char* path) {
    if (::access(path, F_OK) != 0 || RemountReadOnly(path))
        return;
    // Not a mount point yet.
    if (errno != EINVAL || ::mount(path, path, nullptr, MS_BIND | MS_REC, nullptr) != 0 || !RemountReadOnly(path))
        ThrowSystemError(std::string("cannot keep the program from writing to ") + path);
}

// Only for root: the kernel rejects sysctls of ordinary users, and a nested board could not mount /proc where a part is
// covered.
void ProtectSettings(uid_t user) {
    for (const char* path : MACHINE_SETTINGS)
        if (user == 0)
            MakeReadOnly(path);
}

// In process 1. The ids are the user's on the machine, not mapped in the namespace yet.
struct BoardMaker {
    BoardLayout layout;
    std::vector<Placement> placements;
    bool asRoot;
    bool ownNumbers;
    uid_t user = ::geteuid();
    gid_t group = ::getegid();

    void operator()(int socket) const {
        std::error_code error;
        const fs::path workingDirectory = fs::current_path(error);
        MapIds(user, group, asRoot);
        DetachMounts();
        // Before the skeletons, which bind parts of it.
        MakeReadOnly(MACHINE_DEVICES);
        {
            // Opened here, because the kernel mounts only a descriptor opened in the same user namespace; and closed
            // here, because an inherited descriptor would keep the file system alive after the board.
            const FileDescriptor connection = MountFuse(layout.Device(), {asRoot ? 0 : user, asRoot ? 0 : group});
            SendMounted(socket, connection.Get());
        }
        Skeleton(layout.Stage()).Mount(placements);
        // The bind mounts stay.
        ::umount2(layout.Device().c_str(), MNT_DETACH);
        MakePseudoTerminals();
        if (ownNumbers && !MountProc())
            ThrowSystemError("cannot mount the board's own /proc");
        ProtectSettings(user);
        // Re-enters the working directory, which could still be a covered one of the machine.
        if (::chdir(workingDirectory.c_str()) != 0 && ::chdir("/") != 0)
            std::abort();
    }
};

NamespaceEntry::Trial Refused(const std::string& why) {
    NamespaceEntry::Trial trial;
    why.copy(trial.reason, sizeof trial.reason - 1);
    return trial;
}

NamespaceEntry::Trial TryHere(const BoardLayout& layout, uid_t user, gid_t group) {
    try {
        NamespaceEntry::Trial trial;
        MapIds(user, group, false);
        DetachMounts();
        MakeReadOnly(MACHINE_DEVICES);
        (void)MountFuse(layout.Device(), {user, group});
        Skeleton(layout.Stage()).Mount({});
        trial.canHaveOwnNumbers = MountProc();
        ProtectSettings(user);
        trial.isAllowed = true;
        return trial;
    } catch (const std::exception& error) {
        return Refused(error.what());
    }
}

} // namespace

NamespaceEntry::NamespaceEntry(ValueFiles& files, BoardLayout boardLayout, bool ownNumbers, bool asRoot,
                               FuseFiles::BeforeRequest beforeRequest)
    : layout(std::move(boardLayout)), hasOwnNumbers(ownNumbers), isRoot(asRoot),
      fuse(files, asRoot ? FuseFiles::Owner{0, 0} : FuseFiles::Owner{::geteuid(), ::getegid()},
           std::move(beforeRequest)) {}

InitPlan NamespaceEntry::Plan(const std::vector<Placement>& placements) {
    InitPlan plan;
    plan.hasOwnNumbers = hasOwnNumbers;
    plan.makeBoard = BoardMaker{layout, placements, isRoot, hasOwnNumbers};
    return plan;
}

pid_t NamespaceEntry::Fork() {
    return ForkIntoNamespaces(hasOwnNumbers);
}

NamespaceEntry::Trial NamespaceEntry::Try(const BoardLayout& layout) {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0)
        ThrowSystemError("cannot make a pipe");
    const FileDescriptor reading(ends[0]);
    FileDescriptor writing(ends[1]);
    const uid_t user = ::geteuid();
    const gid_t group = ::getegid();
    pid_t process = 0;
    try {
        process = ForkIntoNamespaces(true);
    } catch (const BoardError& error) {
        return Refused(error.what());
    }
    if (process == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        const Trial finding = TryHere(layout, user, group);
        (void)!::write(writing.Get(), &finding, sizeof finding);
        ::_exit(0);
    }
    writing.Close();
    Trial finding = Refused("the trial of the board's namespaces did not come to an end");
    pollfd wait = {reading.Get(), POLLIN, 0};
    if (::poll(&wait, 1, TRIAL_LIMIT_MS) == 1)
        (void)!::read(reading.Get(), &finding, sizeof finding);
    ::kill(process, SIGKILL);
    while (::waitpid(process, nullptr, 0) < 0 && errno == EINTR) {
    }
    return finding;
}

} // namespace VelrixBoard
