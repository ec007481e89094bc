// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include <System/Diagnostics/TraceListener.h>
#include <System/IO/Exceptions.h>

#include <velrix/Export.h>

namespace Velrix {

// The three trace listeners that every application of the device logs through, each with its level filter set.
//
// Every call makes a new listener, which the caller adds to System::Diagnostics::Trace; the library adds none itself.
// What the runtime's listeners throw passes out. Any thread.
//
//     Trace::AddListener(TraceListenerFactory::CreateFileTraceListener());
class VELRIX_EXPORT TraceListenerFactory final {
public:
    TraceListenerFactory() = delete;

    // Fatal events only, to syslog with the facility local0.
    static std::shared_ptr<System::Diagnostics::TraceListener> CreateFatalEventLogTraceListener();

    // Information and everything more severe, to syslog with the facility local1.
    static std::shared_ptr<System::Diagnostics::TraceListener> CreateEventLogTraceListener();

    // Everything from debug upward, to the file in /var/log/apps that is named after the process:
    // /var/log/apps/gateway.log. The folder must exist.
    static std::shared_ptr<System::Diagnostics::TraceListener> CreateFileTraceListener();
};

} // namespace Velrix
