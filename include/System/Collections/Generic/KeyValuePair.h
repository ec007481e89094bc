// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <System/Export.h>

namespace System::Collections::Generic {

// A key and its value in a dictionary. Concurrent reads.
template <class K, class V>
struct KeyValuePair {
    K Key;
    V Value;
};

} // namespace System::Collections::Generic
