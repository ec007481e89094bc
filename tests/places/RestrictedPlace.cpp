// SPDX-License-Identifier: Apache-2.0
// Runs a command in a simulated restricted environment, on an unrestricted machine:
//
//     restricted-place PLACE root|user COMMAND [ARGUMENT...]
//
// Kills leftover processes of the command. Exit code: the command's; 125 when the environment cannot be simulated here.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <string_view>

#include <csignal>
#include <grp.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tests/places/Restrictions.h"

namespace {

using TestPlaces::Check;

struct Place {
    std::string_view name;
    void (*restrictions[4])(); // in this order: the filter forbids mounts, and installing it needs capabilities
    const char* what;
};

constexpr Place PLACES[] = {
    {"machine", {}, "everything is allowed"},
    {"without-fuse", {TestPlaces::CoverDevices}, "no /dev/fuse"},
    {"masked", {TestPlaces::CoverKernelFiles}, "/proc covered in part, /proc/sys and /sys read-only"},
    {"container",
     {TestPlaces::CoverDevices, TestPlaces::CoverKernelFiles, TestPlaces::FilterSystemCalls,
      TestPlaces::LimitCapabilities},
     "a container of Docker without options"},
};

constexpr int FAILED = 125;

// Debian's first ordinary user, with the PATH of a login shell.
constexpr unsigned USER = 1000;
constexpr const char* USERS_PATH = "/usr/local/bin:/usr/bin:/bin:/usr/local/games:/usr/games";

void WriteFile(const char* path, const std::string& text) {
    std::ofstream file(path);
    file << text << std::flush;
    Check(file.good(), std::string("writing ") + path);
}

// For ordinary users: root of a user namespace, or the user there with root's capabilities until the command starts.
void BecomeAbleToMount(bool asUser) {
    const std::string user = std::to_string(::geteuid()), group = std::to_string(::getegid());
    Check(::unshare(CLONE_NEWUSER) == 0, "making a user namespace");
    WriteFile("/proc/self/setgroups", "deny");
    WriteFile("/proc/self/uid_map", (asUser ? user : "0") + " " + user + " 1");
    WriteFile("/proc/self/gid_map", (asUser ? group : "0") + " " + group + " 1");
}

void GiveUpRoot() {
    const gid_t group = USER;
    Check(::setgroups(0, &group) == 0 && ::setresgid(USER, USER, USER) == 0 && ::setresuid(USER, USER, USER) == 0,
          "becoming user " + std::to_string(USER));
}

[[noreturn]] void EnterAndRun(const Place& place, bool asUser, char** command) {
    const bool isRoot = ::geteuid() == 0;
    Check(::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0, "detaching mounts");
    Check(::mount("proc", "/proc", "proc", MS_NOSUID | MS_NODEV | MS_NOEXEC, nullptr) == 0, "mounting /proc");
    for (const auto restrict : place.restrictions)
        if (restrict != nullptr)
            restrict();
    if (asUser) {
        if (isRoot)
            GiveUpRoot();
        ::setenv("PATH", USERS_PATH, 1);
    }
    // Process 1 of the pid namespace: its end kills all others. Set after the change of user, which would reset it.
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    ::execvp(command[0], command);
    Check(false, std::string("starting ") + command[0]);
    std::abort();
}

int Run(const Place& place, bool asUser, char** command) {
    if (::geteuid() != 0)
        BecomeAbleToMount(asUser);
    Check(::unshare(CLONE_NEWNS | CLONE_NEWPID) == 0, "making mount and process namespaces");
    const pid_t first = ::fork();
    Check(first >= 0, "starting the first process");
    if (first == 0)
        EnterAndRun(place, asUser, command);
    int status = 0;
    Check(::waitpid(first, &status, 0) == first, "waiting for the command");
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

int Usage() {
    std::fprintf(stderr, "usage: restricted-place PLACE root|user COMMAND [ARGUMENT...]\nplaces:\n");
    for (const Place& place : PLACES)
        std::fprintf(stderr, "  %-13s %s\n", place.name.data(), place.what);
    return FAILED;
}

} // namespace

int main(int argc, char** argv) {
    const std::string_view name = argc > 1 ? argv[1] : "", who = argc > 2 ? argv[2] : "";
    if (argc < 4 || (who != "root" && who != "user"))
        return Usage();
    for (const Place& place : PLACES) {
        if (place.name != name)
            continue;
        try {
            return Run(place, who == "user", argv + 3);
        } catch (const TestPlaces::RestrictionError& error) {
            std::fprintf(stderr, "restricted-place: %s\n", error.what());
            return FAILED;
        }
    }
    return Usage();
}
