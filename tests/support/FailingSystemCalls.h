// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace TestSupport {

// Logs the file operations of the calling thread, and makes one of them fail.
//
// A test program that uses this class gets its open, close, read, pread, write, lseek, fstat, stat and dup3. At most
// one object per thread; other threads are not affected.
class FailingSystemCalls final {
public:
    // Only logs.
    FailingSystemCalls() noexcept;
    // The number-th call of that name from now on fails with error and does nothing; number 1 is the next one.
    FailingSystemCalls(const char* name, int number, int error) noexcept;
    FailingSystemCalls(const FailingSystemCalls&) = delete;
    FailingSystemCalls& operator=(const FailingSystemCalls&) = delete;
    ~FailingSystemCalls();

    // Limits each later write to that many bytes, possibly 0.
    void LimitWrites(int bytes) noexcept;

    // The names of the calls so far, the failed one included: "open, fstat, pread".
    std::string Log() const;

    // Whether a call has failed.
    bool HasFailed() const noexcept;

private:
    friend struct SystemCallWatch;

    // Returns whether the call is to fail; errno is set then.
    bool Fails(const char* name) noexcept;

    static constexpr int MAX_CALLS = 256;

    const char* const failing;
    int remaining;
    const int error;
    int writeLimit = -1; // -1: none
    bool hasFailed = false;
    // No allocation, which a test may be counting.
    const char* calls[MAX_CALLS] = {};
    int callCount = 0;
};

} // namespace TestSupport
