// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <System/Threading/Mutex.h>

namespace System::Threading {

// Holds a mutex from construction to destruction.
class Lock final {
public:
    explicit Lock(Mutex& ownMutex) : mutex(ownMutex) { mutex.Acquire(); }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;
    ~Lock() { mutex.Release(); }

private:
    Mutex& mutex;
};

} // namespace System::Threading
