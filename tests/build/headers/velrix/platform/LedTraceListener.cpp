// SPDX-License-Identifier: Apache-2.0
#include <velrix/platform/LedTraceListener.h>

using Velrix::LedTraceListener;

bool UseListener(const std::shared_ptr<Velrix::Gpio::ILed>& led) {
    try {
        const auto listener = LedTraceListener::Create(led, led, led, led);
        listener->TraceEvent(nullptr, System::Diagnostics::TraceEventType::FATAL, led);
        return listener->GetFilter() == nullptr && listener->Options() == System::Diagnostics::TraceOptions::NONE;
    } catch (const System::NotSupportedException&) {
        return true;
    } catch (const System::ArgumentNullException&) {
        return false;
    }
}
