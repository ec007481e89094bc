// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include <System/DateTime.h>
#include <System/Export.h>
#include <System/Object.h>

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
    TraceEventArgs(Passkey, int ownProcessId, int ownThreadId) noexcept;
    ~TraceEventArgs() override;

    // The moment of the event; keeps these arguments alive, which it is a part of.
    std::shared_ptr<DateTime> Timestamp() const { return {shared_from_this(), &timestamp}; }

    int ProcessId() const noexcept { return processId; }

    // The kernel's id of the thread.
    int ThreadId() const noexcept { return threadId; }

private:
    friend class FileTraceListener;

    mutable DateTime timestamp; // immutable; its virtual operations are not const
    const int processId;
    const int threadId;
};

} // namespace System::Diagnostics
