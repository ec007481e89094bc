// SPDX-License-Identifier: Apache-2.0
#include "runtime/Escape.h"

#include "runtime/Utf.h"

namespace System {

namespace {

constexpr bool IsControl(char16_t unit) noexcept {
    return unit < 0x20 || (unit >= 0x7F && unit < 0xA0);
}

void AppendEscape(std::string& target, char16_t unit) {
    constexpr char DIGITS[] = "0123456789abcdef";
    switch (unit) {
    case u'\n':
        target += "\\n";
        break;
    case u'\r':
        target += "\\r";
        break;
    case u'\t':
        target += "\\t";
        break;
    case u'\\':
        target += "\\\\";
        break;
    default:
        target += {'\\', 'x', DIGITS[unit >> 4], DIGITS[unit & 0xF]};
    }
}

template <class NeedsEscape>
void Append(std::string& target, std::u16string_view text, NeedsEscape needsEscape) {
    while (!text.empty()) {
        std::size_t plain = 0;
        while (plain < text.size() && !needsEscape(text[plain]))
            ++plain;
        Utf::Append(target, text.substr(0, plain));
        text.remove_prefix(plain);
        if (!text.empty()) {
            AppendEscape(target, text.front());
            text.remove_prefix(1);
        }
    }
}

} // namespace

void AppendEscaped(std::string& target, std::u16string_view text) {
    Append(target, text, [](char16_t unit) { return IsControl(unit) || unit == u'\\'; });
}

void AppendOnOneLine(std::string& target, std::u16string_view text) {
    Append(target, text, [](char16_t unit) { return IsControl(unit) && unit != u'\t'; });
}

} // namespace System
