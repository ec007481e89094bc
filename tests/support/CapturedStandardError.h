// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include <fcntl.h>
#include <unistd.h>

#include "tests/support/TemporaryFolder.h"

namespace TestSupport {

// Captures the process's standard error during its lifetime.
class CapturedStandardError final {
public:
    CapturedStandardError() {
        const int file = ::open(folder.Path("stderr").c_str(), O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
        ::dup2(file, STDERR_FILENO);
        ::close(file);
    }
    CapturedStandardError(const CapturedStandardError&) = delete;
    CapturedStandardError& operator=(const CapturedStandardError&) = delete;
    ~CapturedStandardError() {
        ::dup2(before, STDERR_FILENO);
        ::close(before);
    }

    // Everything so far.
    std::string Text() const { return folder.Read("stderr"); }

private:
    TemporaryFolder folder;
    const int before = ::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3);
};

} // namespace TestSupport
