// SPDX-License-Identifier: Apache-2.0
#include "board/virtual/NamespaceEntry.h"

#include <algorithm>
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
#include <sys/wait.h>
#include <unistd.h>

#include "board/virtual/BoardError.h"
#include "board/virtual/Namespaces.h"
#include "board/virtual/PseudoTerminals.h"
#include "board/virtual/Skeleton.h"

namespace VelrixBoard {

namespace fs = std::filesystem;

namespace {

// Mounts do not wait for anything but a busy machine.
constexpr int TRIAL_LIMIT_MS = 20'000;

// As the program sees it.
FuseFiles::Owner OwnerOnBoard(bool asRoot) {
    return asRoot ? FuseFiles::Owner{0, 0} : FuseFiles::Owner{::geteuid(), ::getegid()};
}

bool MountProc() {
    return ::mount("proc", "/proc", "proc", MS_NOSUID | MS_NODEV | MS_NOEXEC, nullptr) == 0;
}

// In process 1. The ids are the user's on the machine; they are not known in the namespace yet.
struct Maker {
    NamespaceEntry::Place place;
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
        {
            // Opened here, because the kernel mounts only what was opened in the same user namespace; and closed here,
            // because a program that held it would keep the file system alive after the board.
            const FileDescriptor connection = MountFuse(place.device, {asRoot ? 0 : user, asRoot ? 0 : group});
            SendMounted(socket, connection.Get());
        }
        Skeleton(place.stage).Mount(placements);
        // What was bound from here stays.
        ::umount2(place.device.c_str(), MNT_DETACH);
        MakePseudoTerminals();
        if (ownNumbers && !MountProc())
            ThrowSystemError("cannot mount the board's own /proc");
        // A working directory inside a covered one would still be that of the machine.
        if (::chdir(workingDirectory.c_str()) != 0 && ::chdir("/") != 0)
            std::abort();
    }
};

// What the process of a trial says at its end.
struct Finding {
    bool isAllowed = false;
    bool canHaveOwnNumbers = false;
    char reason[1024] = {};

    void Refuse(const std::string& why) { std::strncpy(reason, why.c_str(), sizeof reason - 1); }
};

Finding TryHere(const NamespaceEntry::Place& place, uid_t user, gid_t group) {
    Finding finding;
    try {
        MapIds(user, group, false);
        DetachMounts();
        (void)MountFuse(place.device, {user, group});
        Skeleton(place.stage).Mount({});
        finding.canHaveOwnNumbers = MountProc();
        finding.isAllowed = true;
    } catch (const std::exception& error) {
        finding.Refuse(error.what());
    }
    return finding;
}

} // namespace

NamespaceEntry::NamespaceEntry(ValueFiles& files, Place directories, bool ownNumbers, bool asRoot,
                               FuseFiles::BeforeRequest beforeRequest)
    : place(std::move(directories)), hasOwnNumbers(ownNumbers), isRoot(asRoot),
      fuse(files, OwnerOnBoard(asRoot), std::move(beforeRequest)) {}

InitPlan NamespaceEntry::Plan(const std::vector<Placement>& placements) {
    InitPlan plan;
    plan.hasOwnNumbers = hasOwnNumbers;
    plan.makeBoard = Maker{place, placements, isRoot, hasOwnNumbers};
    return plan;
}

pid_t NamespaceEntry::Fork() {
    return ForkIntoNamespaces(hasOwnNumbers);
}

NamespaceEntry::Trial NamespaceEntry::Try(const Place& directories) {
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
        return {false, false, error.what()};
    }
    if (process == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        const Finding finding = TryHere(directories, user, group);
        (void)!::write(writing.Get(), &finding, sizeof finding);
        ::_exit(0);
    }
    writing.Close();
    Finding finding;
    finding.Refuse("the trial of the board's namespaces did not come to an end");
    pollfd wait = {reading.Get(), POLLIN, 0};
    if (::poll(&wait, 1, TRIAL_LIMIT_MS) == 1)
        (void)!::read(reading.Get(), &finding, sizeof finding);
    ::kill(process, SIGKILL);
    while (::waitpid(process, nullptr, 0) < 0 && errno == EINTR) {
    }
    return {finding.isAllowed, finding.canHaveOwnNumbers, finding.reason};
}

} // namespace VelrixBoard
