// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

namespace TestSupport {

// An /etc that this process alone sees, with nothing in it but what the test puts at /etc/velrix.conf.
//
// The first one moves the process into a user and a mount namespace of its own and puts a file system in memory over
// /etc; where the kernel forbids that, it throws std::runtime_error that says so. Each further one starts with an empty
// /etc. The process has no privileges afterwards, whoever runs it. To be made before the process has a second thread.
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
