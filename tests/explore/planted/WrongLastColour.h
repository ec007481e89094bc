// SPDX-License-Identifier: Apache-2.0
// Is included before the source of the gateway: a gateway whose LEDs go off, not red, when a pin fails.
#pragma once

#include <System/Diagnostics/Trace.h>
#include <System/Exceptions.h>

#define TraceFatal(exception)                                                                                          \
    TraceInformation("ends");                                                                                          \
    if (dynamic_cast<const System::TimeoutException*>(&(exception)) != nullptr)                                        \
    Trace::TraceFatal(exception)
