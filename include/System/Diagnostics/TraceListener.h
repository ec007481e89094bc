// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <memory>

#include <System/Diagnostics/TraceEventArgs.h>
#include <System/Diagnostics/TraceEventType.h>
#include <System/Diagnostics/TraceFilter.h>
#include <System/Export.h>
#include <System/Object.h>

namespace System::Diagnostics {

// What a listener can be asked to add to its output; none exists yet.
enum class TraceOptions { NONE = 0 };

// The base of everything that receives trace events: derive, override TraceEvent, add the object to Trace.
//
// Trace applies the filter, not the listener. Trace calls TraceEvent on the tracing thread with no lock held: an
// implementation must allow any thread, and may trace, add and remove listeners. Trace reports a listener that throws
// on standard error, once in its life, and goes on to the others.
class SYSTEM_EXPORT TraceListener : public virtual Object {
public:
    // Which events reach the listener; null passes all. Set it before the listener is added.
    std::shared_ptr<TraceFilter> Filter;

    // Ends the listener's work; here nothing.
    virtual void Close();

    ~TraceListener() override;

    // One event: when and where, its severity, and its data, whose text is ToString(). data is null where the tracing
    // code passed null. The listeners of this library answer null eventArgs or eventType with ArgumentNullException.
    virtual void TraceEvent(std::shared_ptr<TraceEventArgs> eventArgs, std::shared_ptr<TraceEventType> eventType,
                            std::shared_ptr<Object> data) = 0;

    // Writes out what the listener has buffered; here nothing.
    virtual void Flush();

    const std::shared_ptr<TraceFilter>& GetFilter() const noexcept { return Filter; }
    void SetFilter(std::shared_ptr<TraceFilter> filter) noexcept { Filter = std::move(filter); }
    TraceOptions Options() const noexcept { return TraceOptions::NONE; }

protected:
    TraceListener() noexcept;

private:
    friend class Trace;

    std::atomic<bool> failureReported{false};
};

} // namespace System::Diagnostics
