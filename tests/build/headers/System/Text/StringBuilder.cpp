// SPDX-License-Identifier: Apache-2.0
#include <System/Text/StringBuilder.h>

using System::string_ptr;
using System::Text::StringBuilder;

string_ptr UseBuilders() {
    const auto inner = StringBuilder::Create();
    const auto builder = StringBuilder::Create();
    const unsigned char byte = 7;
    const unsigned short unit = 'u';
    builder->Append("text").Append(u'c').Append(unit).Append(byte).Append(-1).Append(1ULL).Append(inner);
    try {
        builder->Insert(0, string_ptr()).Insert(1, 2U).Insert(99, inner);
    } catch (const System::ArgumentOutOfRangeException& exception) {
        return exception.ParamName();
    }
    return builder->ToString();
}
