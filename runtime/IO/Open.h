// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include <System/String.h>

namespace System::IO {

// open(2) that retries on EINTR and never returns descriptor 0, 1 or 2. A program may be started without standard
// streams, and output meant for them must not end up in that file. name is the path in UTF-8, made absolute if need be;
// failures name the path.
int Open(const string_ptr& path, const std::string& name, int flags);

} // namespace System::IO
