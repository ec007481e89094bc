// SPDX-License-Identifier: Apache-2.0
#include <System/Collections/Generic/Array.h>

namespace System::Collections::Generic {

template class Array<unsigned char>;
template class Array<string_ptr>;

} // namespace System::Collections::Generic
