// SPDX-License-Identifier: Apache-2.0
#include "board/base/Refusal.h"

#include <cerrno>
#include <cstring>
#include <fstream>

#include <fcntl.h>
#include <sys/stat.h>

namespace VelrixBoard {

namespace {

std::string ReadSysctl(const std::filesystem::path& file) {
    std::ifstream stream(file);
    std::string value;
    stream >> value;
    return value;
}

// In a chroot, the kernel refuses user namespaces. Its root directory is usually not a mount point; if it is, only root
// can compare it with that of process 1.
bool IsInChroot() {
    struct statx root {};
    if (::statx(AT_FDCWD, "/", 0, STATX_BASIC_STATS, &root) != 0)
        return false;
    if ((root.stx_attributes_mask & ~root.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0)
        return true;
    struct statx first {};
    return ::statx(AT_FDCWD, "/proc/1/root", 0, STATX_BASIC_STATS, &first) == 0 &&
           (first.stx_ino != root.stx_ino || first.stx_dev_major != root.stx_dev_major ||
            first.stx_dev_minor != root.stx_dev_minor);
}

} // namespace

std::string DescribeRefusal(const std::string& step, int error, uid_t user, const std::filesystem::path& sysctls) {
    const std::string what = "cannot make the board's own namespaces (" + step + ": " + std::strerror(error) + "). ";
    if (ReadSysctl(sysctls / "kernel/unprivileged_userns_clone") == "0" && user != 0)
        return what + "This machine forbids user namespaces to ordinary users. Allow them, as root, with "
                      "\"sysctl kernel.unprivileged_userns_clone=1\".";
    if (ReadSysctl(sysctls / "user/max_user_namespaces") == "0")
        return what + "This machine allows no user namespaces at all. Allow them, as root, with "
                      "\"sysctl user.max_user_namespaces=10000\".";
    if (ReadSysctl(sysctls / "kernel/apparmor_restrict_unprivileged_userns") == "1" && user != 0)
        return what + "AppArmor restricts user namespaces on this machine. Lift that, as root, with "
                      "\"sysctl kernel.apparmor_restrict_unprivileged_userns=0\".";
    if (error == ENOSPC)
        return what + "A limit on namespaces is reached. Raise user.max_user_namespaces, user.max_pid_namespaces or "
                      "user.max_mnt_namespaces with sysctl, as root, or end other boards.";
    if (error == EUSERS)
        return what + "Namespaces lie in one another too deep; start the board further outside.";
    if (error == EINVAL || error == ENOSYS)
        return what + "The kernel has no user namespaces (CONFIG_USER_NS), or a filter hides them.";
    if (IsInChroot())
        return what + "User namespaces are refused inside a chroot. Enter the folder as a container, for instance with "
                      "\"systemd-nspawn -D FOLDER\" or with pivot_root.";
    return what + "In a container, its seccomp filter usually refuses them; start it with, for instance, "
                  "\"--security-opt seccomp=unconfined\" and an unmasked /proc. In a chroot, the kernel refuses them; "
                  "enter the folder with \"systemd-nspawn -D FOLDER\" instead.";
}

} // namespace VelrixBoard
