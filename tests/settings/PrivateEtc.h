// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace TestSupport {

// An /etc private to this process, with only the test's /etc/velrix.conf.
//
// The first one moves the process into a new user and mount namespace and mounts a tmpfs on /etc; throws
// std::runtime_error where the kernel forbids it. Each further one starts with an empty /etc. Drops the process's
// privileges. Construct it while the process has one thread.
class PrivateEtc final {
public:
    PrivateEtc();
    PrivateEtc(const PrivateEtc&) = delete;
    PrivateEtc& operator=(const PrivateEtc&) = delete;

    // The settings file with this text.
    explicit PrivateEtc(std::string_view text) : PrivateEtc() { Write(text); }

    void Write(std::string_view text);
    void WriteUnreadable(std::string_view text);
    void MakeDirectory();
    void Clear();
};

} // namespace TestSupport
