// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace TestSupport {

// A device without a fault, of plain files and private to this process and its children: /etc, /sys, /var, /mnt and
// /dev are its own, with value files, what the kernel has beside them, directories of logs, /dev/log and identity
// files.
//
// The first one moves the process into a new user and mount namespace, in which it is user "technician" of the group
// "gpio" without further privileges, and throws std::runtime_error where the kernel forbids it. Each further one begins
// with all files as they were. Construct it while the process has one thread.
class PlainDevice final {
public:
    PlainDevice();
    PlainDevice(const PlainDevice&) = delete;
    PlainDevice& operator=(const PlainDevice&) = delete;
    ~PlainDevice();

    // Replaces the file's content; makes it, and its folders, if missing.
    void Write(const std::string& path, const std::string& text) const;
    void Append(const std::string& path, const std::string& text) const;
    void Remove(const std::string& path) const;
    void SetMode(const std::string& path, unsigned mode) const;

private:
    int systemLog = -1;
};

} // namespace TestSupport
