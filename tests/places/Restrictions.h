// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <stdexcept>
#include <string>

namespace TestPlaces {

// A restriction that this machine does not let one make; the text says which one and why.
class RestrictionError final : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Throws with what could not be done and errno's reason.
void Check(bool done, const std::string& what);

// For the calling process and what it starts, each as Docker's default container has it. All but the last need
// CAP_SYS_ADMIN and a mount namespace of the process's own.

// /dev with the few devices that every container has: no /dev/fuse, no /dev/log, new pseudo terminals.
void CoverDevices();

// Parts of /proc are covered, /proc/sys and /sys can only be read. /proc has to be that of the process's own namespace.
void CoverKernelFiles();

// System calls that make or enter namespaces and mounts, or that are about the machine, fail with EPERM; clone3 with
// ENOSYS, so that the C library takes clone.
void FilterSystemCalls();

// The capabilities that such a container's root has, and no others ever again.
void LimitCapabilities();

} // namespace TestPlaces
