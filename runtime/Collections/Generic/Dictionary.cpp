// SPDX-License-Identifier: Apache-2.0
#include <System/Collections/Generic/Dictionary.h>

namespace System::Collections::Generic {

template class Dictionary<string_ptr, string_ptr>;

} // namespace System::Collections::Generic
