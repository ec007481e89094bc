// SPDX-License-Identifier: Apache-2.0
#include <System/Diagnostics/TraceEventArgs.h>

#include <unistd.h>

#include "runtime/SpareAllocator.h"
#include "runtime/Threading/Lock.h"
#include "runtime/WallClock.h"

namespace System::Diagnostics {

std::shared_ptr<TraceEventArgs> TraceEventArgs::Create() {
    // Neither id is remembered from event to event: after a fork both are others.
    return std::allocate_shared<TraceEventArgs>(SpareAllocator<TraceEventArgs>(), Passkey(), ReadWallClock(),
                                                ::getpid(), ::gettid());
}

TraceEventArgs::TraceEventArgs(Passkey, long long ownNanoseconds, int ownProcessId, int ownThreadId) noexcept
    : nanoseconds(ownNanoseconds), processId(ownProcessId), threadId(ownThreadId) {}

TraceEventArgs::~TraceEventArgs() = default;

const std::shared_ptr<DateTime>& TraceEventArgs::Timestamp() const {
    const Threading::Lock lock(mutex);
    if (!timestamp)
        timestamp = std::make_shared<DateTime>(DateTime::Passkey(), nanoseconds);
    return timestamp;
}

} // namespace System::Diagnostics
