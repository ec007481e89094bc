// SPDX-License-Identifier: Apache-2.0
#include <System/Diagnostics/FileTraceListener.h>

using namespace System::Diagnostics;

bool UseListener(const std::shared_ptr<TraceEventArgs>& eventArgs) {
    try {
        const auto listener = FileTraceListener::Create("/dev/null");
        listener->TraceEvent(eventArgs, TraceEventType::DEBUG, eventArgs->Timestamp());
        return listener->GetFilter()->ShouldTrace(TraceEventType::DEBUG);
    } catch (const System::IO::IOException&) {
        return false;
    } catch (const System::ArgumentNullException&) {
        return false;
    }
}
