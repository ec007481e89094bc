// SPDX-License-Identifier: Apache-2.0
#include "runtime/Escape.h"

#include "runtime/Utf.h"

namespace System {

namespace {

constexpr bool NeedsEscape(char16_t unit) noexcept {
    return unit < 0x20 || (unit >= 0x7F && unit < 0xA0) || unit == u'\\';
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

} // namespace

void AppendEscaped(std::string& target, std::u16string_view text) {
    while (!text.empty()) {
        std::size_t plain = 0;
        while (plain < text.size() && !NeedsEscape(text[plain]))
            ++plain;
        Utf::Append(target, text.substr(0, plain));
        text.remove_prefix(plain);
        if (!text.empty()) {
            AppendEscape(target, text.front());
            text.remove_prefix(1);
        }
    }
}

} // namespace System
