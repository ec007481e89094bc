// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <mutex>

#include <System/Export.h>

namespace System::Threading {

// A non-recursive lock: a thread that acquires it twice deadlocks. Any thread. Not an object: a plain member or static,
// usable before and after every other static's life.
class SYSTEM_EXPORT Mutex final {
public:
    constexpr Mutex() noexcept = default;
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    // Waits until no other thread holds the lock, then holds it.
    void Acquire() { mutex.lock(); }

    // Releases the lock; only the thread that holds it may.
    void Release() { mutex.unlock(); }

private:
    std::mutex mutex;
};

} // namespace System::Threading
