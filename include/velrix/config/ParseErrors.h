// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <System/String.h>

#include <velrix/Export.h>

namespace Velrix {

// Throws FormatException "Unexpected end of file when parsing PATH". Both functions: any thread.
[[noreturn]] VELRIX_EXPORT void _throw_unexpected_eof_exception(System::string_ptr path);

// Throws FormatException "Unexpected char 'C' at LINE:COLUMN when parsing PATH". The message holds the code unit
// unescaped, a control character too.
[[noreturn]] VELRIX_EXPORT void _throw_unexpected_char_exception(unsigned short c, System::string_ptr path, int line,
                                                                 int column);

} // namespace Velrix
