// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace System {

// The full name of a class as it is written in code, such as "System::String", from std::type_info::name(). A name
// that cannot be read comes back as it is.
std::string TypeName(const char* mangledName);

} // namespace System
