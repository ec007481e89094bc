// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace System::IO {

// open(2) that retries on EINTR and never returns descriptor 0, 1 or 2. A program may be started without standard
// streams, and output meant for them must not end up in that file. -1 and errno on failure.
int Open(const char* name, int flags);

} // namespace System::IO
