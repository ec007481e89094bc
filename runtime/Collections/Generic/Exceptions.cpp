// SPDX-License-Identifier: Apache-2.0
#include <System/Collections/Generic/Exceptions.h>

namespace System::Collections::Generic {

// Out of line, so that this library alone holds the table and the type information.
KeyNotFoundException::~KeyNotFoundException() = default;

} // namespace System::Collections::Generic
