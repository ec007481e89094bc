// SPDX-License-Identifier: Apache-2.0
#include <System/Text/StringBuilder.h>

#include <charconv>
#include <cstddef>

#include <System/Exceptions.h>

#include "runtime/Length.h"

namespace System::Text {

namespace {

// A number's decimal digits as code units, without an allocation.
struct Digits {
    template <class Number>
    explicit Digits(Number number) noexcept {
        char bytes[sizeof units / sizeof *units] = {}; // cleared for the analyser, which does not know to_chars
        const char* const end = std::to_chars(bytes, bytes + sizeof bytes, number).ptr;
        for (const char* byte = bytes; byte != end; ++byte)
            units[length++] = static_cast<char16_t>(*byte);
    }
    std::u16string_view View() const noexcept { return {units, length}; }

    char16_t units[20]; // -9223372036854775808
    std::size_t length = 0;
};

} // namespace

StringBuilder::StringBuilder() noexcept = default;

StringBuilder::~StringBuilder() = default;

std::shared_ptr<StringBuilder> StringBuilder::Create() {
    return Own(new StringBuilder);
}

string_ptr StringBuilder::ToString() {
    return std::u16string_view(units);
}

StringBuilder& StringBuilder::Insert(int index, const string_ptr& text) {
    return InsertUnits(index, text ? text->View() : std::u16string_view());
}

StringBuilder& StringBuilder::Insert(int index, char16_t unit) {
    return InsertUnits(index, {&unit, 1});
}

StringBuilder& StringBuilder::InsertSigned(int index, long long number) {
    return InsertUnits(index, Digits(number).View());
}

StringBuilder& StringBuilder::InsertUnsigned(int index, unsigned long long number) {
    return InsertUnits(index, Digits(number).View());
}

StringBuilder& StringBuilder::InsertUnits(int index, std::u16string_view piece) {
    if (index < 0 || index > Length())
        throw ArgumentOutOfRangeException("index");
    CheckedLength(units.size() + piece.size(), "text");
    units.insert(static_cast<std::size_t>(index), piece);
    return *this;
}

} // namespace System::Text
