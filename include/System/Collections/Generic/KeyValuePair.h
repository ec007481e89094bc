// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <System/Export.h>

namespace System::Collections::Generic {

// A key and what a dictionary holds under it; a value, copied freely.
template <class K, class V>
struct KeyValuePair {
    K Key;
    V Value;
};

} // namespace System::Collections::Generic
