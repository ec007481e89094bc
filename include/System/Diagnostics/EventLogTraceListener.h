// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include <System/Diagnostics/TraceListener.h>
#include <System/Export.h>

namespace System::Diagnostics {

// Sends events to syslog under one facility, with the process's name and id. Any thread.
//
// FATAL is LOG_CRIT, ERROR LOG_ERR, WARNING LOG_WARNING, INFORMATION LOG_INFO, DEBUG LOG_DEBUG. Listeners of different
// facilities can coexist. The text is never a format, and stays on one line: line ends and other control characters but
// the tab are escaped. Without a daemon the events are lost and the program is not disturbed.
class SYSTEM_EXPORT EventLogTraceListener final : public TraceListener {
public:
    // facility as in <syslog.h>, already shifted: LOG_LOCAL0 is 128. LOG_KERN is the kernel's own; the C library sends
    // as LOG_USER instead. Anything that is no facility: ArgumentOutOfRangeException "facility".
    static std::shared_ptr<EventLogTraceListener> Create(int facility);

    void TraceEvent(std::shared_ptr<TraceEventArgs> eventArgs, std::shared_ptr<TraceEventType> eventType,
                    std::shared_ptr<Object> data) override;

private:
    explicit EventLogTraceListener(int ownFacility) noexcept;

    const int facility;
};

} // namespace System::Diagnostics
