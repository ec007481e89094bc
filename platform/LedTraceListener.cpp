// SPDX-License-Identifier: Apache-2.0
#include <velrix/platform/LedTraceListener.h>

#include <utility>

#include <System/Exceptions.h>
#include <System/Raisers.h>

namespace Velrix {

using Gpio::ILed;
using System::Diagnostics::TraceEventArgs;
using System::Diagnostics::TraceEventType;
using System::Diagnostics::TraceFilter;
using System::Diagnostics::TraceOptions;

std::shared_ptr<LedTraceListener> LedTraceListener::Create(std::shared_ptr<ILed> moduleStatusLed,
                                                           std::shared_ptr<ILed> networkStatusLed,
                                                           std::shared_ptr<ILed> linkActivity1Led,
                                                           std::shared_ptr<ILed> linkActivity2Led) {
    if (!moduleStatusLed)
        System::_throw_argument_null_exception("moduleStatusLed");
    if (!networkStatusLed)
        System::_throw_argument_null_exception("networkStatusLed");
    if (!linkActivity1Led)
        System::_throw_argument_null_exception("linkActivity1Led");
    if (!linkActivity2Led)
        System::_throw_argument_null_exception("linkActivity2Led");
    return std::shared_ptr<LedTraceListener>(
        new LedTraceListener(std::move(moduleStatusLed), std::move(networkStatusLed), std::move(linkActivity1Led),
                             std::move(linkActivity2Led)));
}

LedTraceListener::LedTraceListener(std::shared_ptr<ILed> ownModuleStatusLed, std::shared_ptr<ILed> ownNetworkStatusLed,
                                   std::shared_ptr<ILed> ownLinkActivity1Led,
                                   std::shared_ptr<ILed> ownLinkActivity2Led) noexcept
    : moduleStatusLed(std::move(ownModuleStatusLed)), networkStatusLed(std::move(ownNetworkStatusLed)),
      linkActivity1Led(std::move(ownLinkActivity1Led)), linkActivity2Led(std::move(ownLinkActivity2Led)) {}

LedTraceListener::~LedTraceListener() = default;

void LedTraceListener::Close() {
    ControlLeds();
}

void LedTraceListener::TraceEvent(std::shared_ptr<TraceEventArgs>, std::shared_ptr<TraceEventType> eventType,
                                  std::shared_ptr<System::Object>) {
    if (eventType == TraceEventType::FATAL) {
        fatal = true;
        ControlLeds();
    }
}

void LedTraceListener::Flush() {}

void LedTraceListener::ControlLeds() {
    if (fatal) {
        // Steady, not flashing: maybe nobody calls Update any more.
        moduleStatusLed->Red();
        networkStatusLed->Red();
    } else {
        moduleStatusLed->Off();
        networkStatusLed->Off();
    }
    linkActivity1Led->Off();
    linkActivity2Led->Off();
}

std::shared_ptr<TraceFilter> LedTraceListener::GetFilter() const {
    throw System::NotSupportedException();
}

void LedTraceListener::SetFilter(std::shared_ptr<TraceFilter>) {
    throw System::NotSupportedException();
}

TraceOptions LedTraceListener::Options() const {
    throw System::NotSupportedException();
}

} // namespace Velrix
