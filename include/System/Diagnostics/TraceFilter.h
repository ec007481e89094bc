// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include <System/Diagnostics/TraceEventType.h>
#include <System/Export.h>
#include <System/Object.h>

namespace System::Diagnostics {

// Decides which events reach a listener. Trace calls it on the tracing thread: implementations must allow any thread.
class SYSTEM_EXPORT TraceFilter : public Object {
public:
    ~TraceFilter() override;

    // Whether the listener is to get an event of that type.
    virtual bool ShouldTrace(const std::shared_ptr<TraceEventType>& eventType) = 0;
};

} // namespace System::Diagnostics
