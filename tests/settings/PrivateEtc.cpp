// SPDX-License-Identifier: Apache-2.0
#include "tests/settings/PrivateEtc.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <string>

#include <fcntl.h>
#include <linux/capability.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace TestSupport {

namespace {

constexpr const char* SETTINGS = "/etc/velrix.conf";

void Check(bool done, const std::string& what) {
    if (!done)
        throw std::runtime_error(what + ": " + std::strerror(errno));
}

void WriteAll(const char* path, int flags, std::string_view text) {
    const int descriptor = open(path, flags, 0600);
    Check(descriptor >= 0, std::string("cannot open ") + path);
    const bool written = write(descriptor, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    close(descriptor);
    Check(written, std::string("cannot write ") + path);
}

// Drops capabilities, so that file modes apply to the owner too.
void DropCapabilities() {
    __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct none[_LINUX_CAPABILITY_U32S_3] = {};
    Check(syscall(SYS_capset, &header, none) == 0, "cannot give up the capabilities");
}

void Enter() {
    const std::string user = std::to_string(geteuid()), group = std::to_string(getegid());
    Check(unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0,
          "no user namespace (kernel.unprivileged_userns_clone, user.max_user_namespaces)");
    WriteAll("/proc/self/setgroups", O_WRONLY, "deny");
    WriteAll("/proc/self/uid_map", O_WRONLY, "0 " + user + " 1");
    WriteAll("/proc/self/gid_map", O_WRONLY, "0 " + group + " 1");
    Check(mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0, "cannot make the mounts private");
    Check(mount("settings-tests", "/etc", "tmpfs", 0, "mode=0700,size=1m") == 0, "cannot cover /etc");
    DropCapabilities();
}

} // namespace

PrivateEtc::PrivateEtc() {
    static const bool entered = (Enter(), true);
    static_cast<void>(entered);
    Clear();
}

void PrivateEtc::Write(std::string_view text) {
    Clear();
    WriteAll(SETTINGS, O_WRONLY | O_CREAT | O_EXCL, text);
}

void PrivateEtc::WriteUnreadable(std::string_view text) {
    Write(text);
    Check(chmod(SETTINGS, 0) == 0, "cannot change the mode");
}

void PrivateEtc::MakeDirectory() {
    Clear();
    Check(mkdir(SETTINGS, 0700) == 0, "cannot make a directory");
}

void PrivateEtc::Clear() {
    std::filesystem::remove(SETTINGS);
}

} // namespace TestSupport
