// SPDX-License-Identifier: Apache-2.0
#include <System/Diagnostics/Trace.h>

using System::Diagnostics::Trace;

void UseTrace(const std::shared_ptr<System::Object>& object) {
    try {
        for (const auto& listener : Trace::Listeners())
            Trace::AddListener(listener);
        Trace::TraceDebug("text");
        Trace::TraceInformation(object);
    } catch (const System::ArgumentNullException& exception) {
        Trace::TraceWarning(exception);
    }
}
