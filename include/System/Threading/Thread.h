// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <System/Export.h>

namespace System::Threading {

// Operations on the calling thread. Any thread.
class SYSTEM_EXPORT Thread final {
public:
    Thread() = delete;

    // Sleeps at least that many microseconds; a signal handler does not shorten it.
    static void USleep(unsigned long long microseconds);
};

} // namespace System::Threading
