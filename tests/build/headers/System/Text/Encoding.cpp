// SPDX-License-Identifier: Apache-2.0
#include <System/Text/Encoding.h>

using System::Text::Encoding;

int UseEncodings() {
    try {
        const auto bytes = Encoding::ASCII->GetBytes("text");
        return bytes->Length() + Encoding::UTF8->GetString(bytes)->Length() + (*bytes)[0];
    } catch (const System::ArgumentNullException&) {
        return 0;
    }
}
