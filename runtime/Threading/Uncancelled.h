// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <pthread.h>

namespace System::Threading {

// Disables cancellation of the calling thread for its lifetime. For code that closes something or must not throw, such
// as a destructor: the C library unwinds a cancelled thread from many of its functions, and ends the process at a
// noexcept boundary.
class Uncancelled final {
public:
    Uncancelled() noexcept { ::pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before); }
    Uncancelled(const Uncancelled&) = delete;
    Uncancelled& operator=(const Uncancelled&) = delete;
    ~Uncancelled() { ::pthread_setcancelstate(before, nullptr); }

private:
    int before = PTHREAD_CANCEL_ENABLE;
};

} // namespace System::Threading
