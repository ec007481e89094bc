// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <System/String.h>

namespace System::IO {

// The one place that turns errno into an exception: FileNotFoundException, UnauthorizedAccessException or plain
// IOException. whatFailed begins the message, such as "Cannot open".
[[noreturn]] void RaiseIO(const char* whatFailed, const string_ptr& path, int errorCode);

} // namespace System::IO
