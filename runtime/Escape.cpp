// SPDX-License-Identifier: Apache-2.0
#include "runtime/Escape.h"

#include "runtime/Utf.h"

namespace System {

namespace {

constexpr auto IS_CONTROL = [](char16_t unit) { return unit < 0x20 || (unit >= 0x7F && unit < 0xA0); };
constexpr auto IS_CONTROL_OR_BACKSLASH = [](char16_t unit) { return IS_CONTROL(unit) || unit == u'\\'; };
constexpr auto IS_CONTROL_BUT_TAB = [](char16_t unit) { return IS_CONTROL(unit) && unit != u'\t'; };

char* WriteEscape(char* target, char16_t unit) noexcept {
    constexpr char DIGITS[] = "0123456789abcdef";
    constexpr std::u16string_view NAMED = u"\n\r\t\\";
    *target++ = '\\';
    if (const std::size_t found = NAMED.find(unit); found != NAMED.npos) {
        *target++ = "nrt\\"[found];
        return target;
    }
    *target++ = 'x';
    *target++ = DIGITS[unit >> 4];
    *target++ = DIGITS[unit & 0xF];
    return target;
}

template <class NeedsEscape>
char* Write(char* target, std::u16string_view text, NeedsEscape needsEscape) noexcept {
    if (Utf::CopyPlain(text.data(), text.size(), target,
                       [](char16_t unit) { return (unit < u' ') | (unit > u'~') | (unit == u'\\'); }))
        return target + text.size();
    while (!text.empty())
        if (const char16_t unit = text.front(); needsEscape(unit)) {
            target = WriteEscape(target, unit);
            text.remove_prefix(1);
        } else
            target = Utf::Encode(Utf::TakeCodePoint(text), target);
    return target;
}

template <class NeedsEscape>
void Append(std::string& target, std::u16string_view text, NeedsEscape needsEscape) {
    const std::size_t before = target.size();
    target.resize(before + BYTES_PER_UNIT * text.size());
    target.resize(static_cast<std::size_t>(Write(target.data() + before, text, needsEscape) - target.data()));
}

} // namespace

char* WriteEscaped(char* target, std::u16string_view text) noexcept {
    return Write(target, text, IS_CONTROL_OR_BACKSLASH);
}

void AppendEscaped(std::string& target, std::u16string_view text) {
    Append(target, text, IS_CONTROL_OR_BACKSLASH);
}

void AppendOnOneLine(std::string& target, std::u16string_view text) {
    Append(target, text, IS_CONTROL_BUT_TAB);
}

} // namespace System
