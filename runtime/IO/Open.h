// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace System::IO {

// open(2) for a file that is to be kept: not stopped by signals, and never in the place of a standard stream. A program
// may be started without those, and what others print there, or this library says of a listener, must not end up in
// that file. -1 and errno on failure.
int Open(const char* name, int flags);

} // namespace System::IO
