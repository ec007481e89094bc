// SPDX-License-Identifier: Apache-2.0
#include <System/Diagnostics/TraceEventTypeFilter.h>

#include <limits>

#include <System/Raisers.h>

namespace System::Diagnostics {

namespace {

int SeverityOf(const std::shared_ptr<TraceEventType>& eventType) {
    if (!eventType)
        _throw_argument_null_exception("eventType");
    return eventType->Severity();
}

} // namespace

std::shared_ptr<TraceEventTypeFilter> TraceEventTypeFilter::FromType(std::shared_ptr<TraceEventType> eventType) {
    const int severity = SeverityOf(eventType);
    return Own(new TraceEventTypeFilter(severity, severity));
}

std::shared_ptr<TraceEventTypeFilter>
TraceEventTypeFilter::FromEqualOrHigherType(std::shared_ptr<TraceEventType> eventType) {
    return Own(new TraceEventTypeFilter(SeverityOf(eventType), std::numeric_limits<int>::max()));
}

TraceEventTypeFilter::TraceEventTypeFilter(int ownLowest, int ownHighest) noexcept
    : lowest(ownLowest), highest(ownHighest) {}

bool TraceEventTypeFilter::ShouldTrace(const std::shared_ptr<TraceEventType>& eventType) {
    const int severity = SeverityOf(eventType);
    return lowest <= severity && severity <= highest;
}

} // namespace System::Diagnostics
