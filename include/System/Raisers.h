// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <System/Export.h>
#include <System/String.h>

namespace System {

// Throws ArgumentNullException for the parameter name. All functions here: any thread.
[[noreturn]] SYSTEM_EXPORT void _throw_argument_null_exception(string_ptr name);

// Throws ArgumentOutOfRangeException for the parameter name, whose value is less than bound; the message gives the
// name, the value and boundName, such as "zero".
[[noreturn]] SYSTEM_EXPORT void _throw_not_less_exception(long long value, long long bound, string_ptr name,
                                                          string_ptr boundName);

// Throws ArgumentOutOfRangeException for the parameter name, whose value is greater than limit; the message gives the
// name, the value and limitText, such as "100".
[[noreturn]] SYSTEM_EXPORT void _throw_not_greater_exception(long long value, long long limit, string_ptr name,
                                                             string_ptr limitText);

} // namespace System
