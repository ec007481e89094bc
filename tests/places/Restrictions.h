// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdexcept>
#include <string>

namespace TestPlaces {

// A restriction that this machine does not allow to set up; the text says which one and why.
class RestrictionError final : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Throws with the failed step and errno's text.
void Check(bool done, const std::string& what);

// For the calling process and its children, like Docker's default container. All but the last need CAP_SYS_ADMIN and a
// separate mount namespace.

// A minimal /dev: no /dev/fuse, no /dev/log, a new devpts.
void CoverDevices();

// Masks parts of /proc, makes /proc/sys and /sys read-only. /proc must be that of the process's pid namespace.
void CoverKernelFiles();

// System calls on namespaces, mounts or the machine fail with EPERM; clone3 with ENOSYS, so that the C library falls
// back to clone.
void FilterSystemCalls();

// Limits the bounding set to the capabilities of such a container's root.
void LimitCapabilities();

} // namespace TestPlaces
