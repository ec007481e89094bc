// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include <System/DateTime.h>
#include <System/Export.h>
#include <System/Object.h>
#include <System/Threading/Mutex.h>

namespace System::Diagnostics {

// When and where a trace event happened. Immutable: any thread. Trace makes one per event, for all listeners.
class SYSTEM_EXPORT TraceEventArgs final : public Object {
    struct Passkey {
        explicit Passkey() = default;
    };

public:
    // An event on this thread, now.
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
    // Created lazily: most listeners only format the time.
    mutable Threading::Mutex mutex;
    mutable std::shared_ptr<DateTime> timestamp; // guarded by mutex until set, constant afterwards
};

} // namespace System::Diagnostics
