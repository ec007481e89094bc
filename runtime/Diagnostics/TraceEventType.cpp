// SPDX-License-Identifier: Apache-2.0
#include <System/Diagnostics/TraceEventType.h>

#include <utility>

namespace System::Diagnostics {

[[gnu::init_priority(200)]] const std::shared_ptr<TraceEventType> TraceEventType::DEBUG =
    Own(new TraceEventType("DEBUG", 0));
[[gnu::init_priority(200)]] const std::shared_ptr<TraceEventType> TraceEventType::INFORMATION =
    Own(new TraceEventType("INFORMATION", 1));
[[gnu::init_priority(200)]] const std::shared_ptr<TraceEventType> TraceEventType::WARNING =
    Own(new TraceEventType("WARNING", 2));
[[gnu::init_priority(200)]] const std::shared_ptr<TraceEventType> TraceEventType::ERROR =
    Own(new TraceEventType("ERROR", 3));
[[gnu::init_priority(200)]] const std::shared_ptr<TraceEventType> TraceEventType::FATAL =
    Own(new TraceEventType("FATAL", 4));

TraceEventType::TraceEventType(string_ptr ownName, int ownSeverity) noexcept
    : name(std::move(ownName)), severity(ownSeverity) {}

string_ptr TraceEventType::ToString() {
    return name;
}

} // namespace System::Diagnostics
