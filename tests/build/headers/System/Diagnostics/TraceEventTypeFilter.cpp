// SPDX-License-Identifier: Apache-2.0
#include <System/Diagnostics/TraceEventTypeFilter.h>

using namespace System::Diagnostics;

bool UseFilter() {
    try {
        return TraceEventTypeFilter::FromType(TraceEventType::FATAL)->ShouldTrace(nullptr);
    } catch (const System::ArgumentNullException&) {
        return false;
    }
}
