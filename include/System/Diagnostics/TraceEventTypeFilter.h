// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include <System/Diagnostics/TraceEventType.h>
#include <System/Diagnostics/TraceFilter.h>
#include <System/Export.h>

namespace System::Diagnostics {

// A filter by level. Immutable: any thread.
class SYSTEM_EXPORT TraceEventTypeFilter final : public TraceFilter {
public:
    // Passes events of that type alone. A null type: ArgumentNullException "eventType".
    static std::shared_ptr<TraceEventTypeFilter> FromType(std::shared_ptr<TraceEventType> eventType);

    // Passes events of that type and of every more severe one. A null type: ArgumentNullException "eventType".
    static std::shared_ptr<TraceEventTypeFilter> FromEqualOrHigherType(std::shared_ptr<TraceEventType> eventType);

    bool ShouldTrace(const std::shared_ptr<TraceEventType>& eventType) override;

private:
    TraceEventTypeFilter(int ownLowest, int ownHighest) noexcept;

    const int lowest; // severities, both included
    const int highest;
};

} // namespace System::Diagnostics
