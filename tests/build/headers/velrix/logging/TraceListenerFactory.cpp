// SPDX-License-Identifier: Apache-2.0
#include <velrix/logging/TraceListenerFactory.h>

using Velrix::TraceListenerFactory;

bool UseFactory() {
    try {
        return TraceListenerFactory::CreateFileTraceListener()->Filter->ShouldTrace(
            System::Diagnostics::TraceEventType::DEBUG);
    } catch (const System::IO::FileNotFoundException&) {
        return false;
    }
}
