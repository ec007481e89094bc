// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <System/String.h>

namespace Velrix {

// The text of a file in the system configuration folder, untrimmed. Failures are those of the settings and of
// System::IO::File::ReadAllText.
System::string_ptr ReadIdentityFile(System::string_ptr fileName);

} // namespace Velrix
