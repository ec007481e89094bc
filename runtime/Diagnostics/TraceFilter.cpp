// SPDX-License-Identifier: Apache-2.0
#include <System/Diagnostics/TraceFilter.h>

namespace System::Diagnostics {

TraceFilter::~TraceFilter() = default;

} // namespace System::Diagnostics
