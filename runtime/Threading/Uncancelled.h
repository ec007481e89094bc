// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <pthread.h>

namespace System::Threading {

// Puts off the cancellation of the calling thread for as long as it lives. For code that closes something or must not
// throw, such as a destructor: the C library ends a cancelled thread by an exception, in many of its functions, and the
// process where that may not pass.
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
