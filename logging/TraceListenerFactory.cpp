// SPDX-License-Identifier: Apache-2.0
#include <velrix/logging/TraceListenerFactory.h>

#include <System/Diagnostics/EventLogTraceListener.h>
#include <System/Diagnostics/FileTraceListener.h>
#include <System/Diagnostics/Process.h>
#include <System/Diagnostics/TraceEventType.h>
#include <System/Diagnostics/TraceEventTypeFilter.h>
#include <System/IO/Path.h>

using System::Diagnostics::EventLogTraceListener;
using System::Diagnostics::FileTraceListener;
using System::Diagnostics::Process;
using System::Diagnostics::TraceEventType;
using System::Diagnostics::TraceEventTypeFilter;
using System::Diagnostics::TraceListener;

namespace Velrix {

namespace {

// Shifted syslog facilities; they alone distinguish the device's two event logs.
constexpr int FATAL_FACILITY = 16 << 3; // local0
constexpr int EVENT_FACILITY = 17 << 3; // local1

constexpr const char* LOG_FOLDER = "/var/log/apps";

} // namespace

std::shared_ptr<TraceListener> TraceListenerFactory::CreateFatalEventLogTraceListener() {
    std::shared_ptr<TraceListener> listener = EventLogTraceListener::Create(FATAL_FACILITY);
    listener->Filter = TraceEventTypeFilter::FromType(TraceEventType::FATAL);
    return listener;
}

std::shared_ptr<TraceListener> TraceListenerFactory::CreateEventLogTraceListener() {
    std::shared_ptr<TraceListener> listener = EventLogTraceListener::Create(EVENT_FACILITY);
    listener->Filter = TraceEventTypeFilter::FromEqualOrHigherType(TraceEventType::INFORMATION);
    return listener;
}

std::shared_ptr<TraceListener> TraceListenerFactory::CreateFileTraceListener() {
    const auto fileName = Process::CURRENT_PROCESS->ProcessName() + ".log";
    std::shared_ptr<TraceListener> listener =
        FileTraceListener::Create(System::IO::Path::Combine(LOG_FOLDER, fileName));
    listener->Filter = TraceEventTypeFilter::FromEqualOrHigherType(TraceEventType::DEBUG);
    return listener;
}

} // namespace Velrix
