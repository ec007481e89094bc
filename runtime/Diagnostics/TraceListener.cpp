// SPDX-License-Identifier: Apache-2.0
#include <System/Diagnostics/TraceListener.h>

namespace System::Diagnostics {

TraceListener::TraceListener() noexcept = default;

TraceListener::~TraceListener() = default;

void TraceListener::Close() {}

void TraceListener::Flush() {}

} // namespace System::Diagnostics
