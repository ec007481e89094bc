// SPDX-License-Identifier: Apache-2.0
#include <System/Text/StringBuilder.h>

#include <cstddef>

#include <System/Exceptions.h>

#include "runtime/Length.h"

namespace System::Text {

std::shared_ptr<StringBuilder> StringBuilder::Create() {
    return Own(new StringBuilder);
}

string_ptr StringBuilder::ToString() {
    return std::u16string_view(units);
}

StringBuilder& StringBuilder::InsertUnits(int index, std::u16string_view piece) {
    if (index < 0 || index > Length())
        throw ArgumentOutOfRangeException("index");
    CheckedLength(units.size() + piece.size(), "text");
    units.insert(static_cast<std::size_t>(index), piece);
    return *this;
}

} // namespace System::Text
