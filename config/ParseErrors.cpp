// SPDX-License-Identifier: Apache-2.0
#include <velrix/config/ParseErrors.h>

#include <System/Exceptions.h>
#include <System/Text/StringBuilder.h>

namespace Velrix {

void _throw_unexpected_eof_exception(System::string_ptr path) {
    throw System::FormatException("Unexpected end of file when parsing " + path);
}

void _throw_unexpected_char_exception(unsigned short c, System::string_ptr path, int line, int column) {
    const auto message = System::Text::StringBuilder::Create();
    message->Append("Unexpected char '").Append(c).Append("' at ").Append(line).Append(":").Append(column);
    message->Append(" when parsing ").Append(path);
    throw System::FormatException(message->ToString());
}

} // namespace Velrix
