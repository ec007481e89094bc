// SPDX-License-Identifier: Apache-2.0
// An application that logs as every application of the device does: one event of each level to the three listeners.
#include <System/Diagnostics/Trace.h>

#include <velrix/logging/TraceListenerFactory.h>

using System::Diagnostics::Trace;
using Velrix::TraceListenerFactory;

int main() {
    Trace::AddListener(TraceListenerFactory::CreateFatalEventLogTraceListener());
    Trace::AddListener(TraceListenerFactory::CreateEventLogTraceListener());
    Trace::AddListener(TraceListenerFactory::CreateFileTraceListener());

    Trace::TraceDebug("debug");
    Trace::TraceInformation("information");
    Trace::TraceWarning("warning");
    Trace::TraceError("error");
    Trace::TraceFatal("fatal");
}
