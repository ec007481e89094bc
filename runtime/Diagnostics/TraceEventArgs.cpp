// SPDX-License-Identifier: Apache-2.0
#include <System/Diagnostics/TraceEventArgs.h>

#include <utility>

#include <unistd.h>

namespace System::Diagnostics {

std::shared_ptr<TraceEventArgs> TraceEventArgs::Create() {
    // Neither id is remembered from event to event: after a fork both are others.
    return std::make_shared<TraceEventArgs>(Passkey(), DateTime::Now(), ::getpid(), ::gettid());
}

TraceEventArgs::TraceEventArgs(Passkey, std::shared_ptr<DateTime> ownTimestamp, int ownProcessId,
                               int ownThreadId) noexcept
    : timestamp(std::move(ownTimestamp)), processId(ownProcessId), threadId(ownThreadId) {}

TraceEventArgs::~TraceEventArgs() = default;

} // namespace System::Diagnostics
