// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <System/String.h>

namespace Velrix {

// The whole text of a file of the system configuration folder, as it is: a line end or a blank at its end stays.
// Failures are those of the settings and of System::IO::File::ReadAllText.
System::string_ptr ReadIdentityFile(System::string_ptr fileName);

} // namespace Velrix
