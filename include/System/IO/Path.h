// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <System/Export.h>
#include <System/String.h>

namespace System::IO {

// Paths as texts, without a look at the file system. Any thread.
class SYSTEM_EXPORT Path final {
public:
    Path() = delete;

    // a and b with one "/" between them. An absolute b is the result by itself; an empty one of the two yields the
    // other. A null one: ArgumentNullException.
    static string_ptr Combine(string_ptr a, string_ptr b);
};

} // namespace System::IO
