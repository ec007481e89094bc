// SPDX-License-Identifier: Apache-2.0
#include <System/Diagnostics/EventLogTraceListener.h>

#include <string>

#include <syslog.h>

#include <System/Exceptions.h>
#include <System/Raisers.h>

#include "runtime/Diagnostics/ProgramName.h"
#include "runtime/Escape.h"

namespace System::Diagnostics {

namespace {

// By severity, from TraceEventType::DEBUG on.
constexpr int PRIORITIES[] = {LOG_DEBUG, LOG_INFO, LOG_WARNING, LOG_ERR, LOG_CRIT};

// The bits of the named facilities; those between LOG_FTP and LOG_LOCAL0 are reserved for the system.
bool IsFacility(int facility) noexcept {
    return (facility & ~LOG_FACMASK) == 0 &&
           (facility <= LOG_FTP || (facility >= LOG_LOCAL0 && facility <= LOG_LOCAL7));
}

} // namespace

std::shared_ptr<EventLogTraceListener> EventLogTraceListener::Create(int facility) {
    if (!IsFacility(facility))
        throw ArgumentOutOfRangeException("facility");
    // What openlog sets is shared by all listeners of the process: each event carries its own facility, and Close
    // leaves the log open. openlog keeps the pointer to the name, which must outlive every static; this one does.
    ::openlog(ProgramName(), LOG_PID, LOG_USER);
    return Own(new EventLogTraceListener(facility));
}

EventLogTraceListener::EventLogTraceListener(int ownFacility) noexcept : facility(ownFacility) {}

void EventLogTraceListener::TraceEvent(std::shared_ptr<TraceEventArgs> eventArgs,
                                       std::shared_ptr<TraceEventType> eventType, std::shared_ptr<Object> data) {
    if (!eventArgs)
        _throw_argument_null_exception("eventArgs");
    if (!eventType)
        _throw_argument_null_exception("eventType");
    std::string line;
    if (const string_ptr text = data ? data->ToString() : string_ptr())
        AppendOnOneLine(line, text->View());
    ::syslog(facility | PRIORITIES[eventType->Severity()], "%s", line.c_str());
}

} // namespace System::Diagnostics
