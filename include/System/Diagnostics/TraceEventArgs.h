// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include <System/DateTime.h>
#include <System/Export.h>
#include <System/Object.h>
#include <System/Threading/Mutex.h>

namespace System::Diagnostics {

// When and where a trace event happened. Immutable; made by Trace, once an event, for all listeners.
class SYSTEM_EXPORT TraceEventArgs final : public Object {
    struct Passkey {
        explicit Passkey() = default;
    };

public:
    // The event of this moment on this thread.
    static std::shared_ptr<TraceEventArgs> Create();

    // For this class alone: only it can name the first argument's type.
    TraceEventArgs(Passkey, long long ownNanoseconds, int ownProcessId, int ownThreadId) noexcept;
    ~TraceEventArgs() override;

    const std::shared_ptr<DateTime>& Timestamp() const;

    int ProcessId() const noexcept { return processId; }

    // The kernel's id of the thread.
    int ThreadId() const noexcept { return threadId; }

private:
    friend class FileTraceListener;

    const long long nanoseconds;
    const int processId;
    const int threadId;
    // The timestamp is an object for those alone who ask for it; most listeners write it down and forget it.
    mutable Threading::Mutex mutex;
    mutable std::shared_ptr<DateTime> timestamp; // guarded by mutex until it is there, and never changed after that
};

} // namespace System::Diagnostics
