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

// In a chroot the root directory is usually not a mount point, and the kernel refuses user namespaces.
bool IsInChroot() {
    struct statx root {};
    return ::statx(AT_FDCWD, "/", 0, STATX_BASIC_STATS, &root) == 0 &&
           (root.stx_attributes_mask & ~root.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0;
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
    return what + "A container usually refuses them by its seccomp filter; start it with, for instance, "
                  "\"--security-opt seccomp=unconfined\" and an unmasked /proc.";
}

} // namespace VelrixBoard
