// SPDX-License-Identifier: Apache-2.0
#include <System/Diagnostics/TraceEventType.h>

#include <utility>

namespace System::Diagnostics {

[[gnu::init_priority(200)]] const std::shared_ptr<TraceEventType> TraceEventType::DEBUG(new TraceEventType("DEBUG", 0));
[[gnu::init_priority(200)]] const std::shared_ptr<TraceEventType>
    TraceEventType::INFORMATION(new TraceEventType("INFORMATION", 1));
[[gnu::init_priority(200)]] const std::shared_ptr<TraceEventType> TraceEventType::WARNING(new TraceEventType("WARNING",
                                                                                                             2));
[[gnu::init_priority(200)]] const std::shared_ptr<TraceEventType> TraceEventType::ERROR(new TraceEventType("ERROR", 3));
[[gnu::init_priority(200)]] const std::shared_ptr<TraceEventType> TraceEventType::FATAL(new TraceEventType("FATAL", 4));

TraceEventType::TraceEventType(string_ptr ownName, int ownSeverity) noexcept
    : name(std::move(ownName)), severity(ownSeverity) {}

TraceEventType::~TraceEventType() = default;

string_ptr TraceEventType::ToString() {
    return name;
}

} // namespace System::Diagnostics
