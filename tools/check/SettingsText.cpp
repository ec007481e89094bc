// SPDX-License-Identifier: Apache-2.0
#include "tools/check/SettingsText.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "config/CharacterSet.h"

namespace VelrixTools {

namespace {

unsigned ByteAt(std::string_view text, std::size_t offset) {
    return offset < text.size() ? static_cast<unsigned char>(text[offset]) : 0;
}

bool IsContinuation(unsigned byte) {
    return (byte & 0xC0U) == 0x80U;
}

std::size_t CountCodePoints(std::string_view text) {
    std::size_t count = 0;
    for (std::size_t i = 0; i < text.size(); i += CodePointSize(text, i))
        ++count;
    return count;
}

// Without overlong forms, surrogates and what is above U+10FFFF: the second byte's range depends on the first one's.
bool IsSecond(unsigned first, unsigned second) {
    const unsigned low = first == 0xE0 ? 0xA0U : first == 0xF0 ? 0x90U : 0x80U;
    const unsigned high = first == 0xED ? 0x9FU : first == 0xF4 ? 0x8FU : 0xBFU;
    return second >= low && second <= high;
}

// U+0080 to U+009F are controls as well, in UTF-8 C2 80 to C2 9F.
bool IsControl(std::string_view codePoint) {
    const unsigned first = ByteAt(codePoint, 0);
    return first < 0x20 || first == 0x7F || (first == 0xC2 && ByteAt(codePoint, 1) < 0xA0);
}

} // namespace

std::size_t CodePointSize(std::string_view text, std::size_t offset) {
    const unsigned first = ByteAt(text, offset);
    const std::size_t size = first >= 0xC2 && first <= 0xDF   ? 2
                             : first >= 0xE0 && first <= 0xEF ? 3
                             : first >= 0xF0 && first <= 0xF4 ? 4
                                                              : 1;
    if (size == 1 || !IsSecond(first, ByteAt(text, offset + 1)))
        return 1;
    for (std::size_t i = 2; i < size; ++i)
        if (!IsContinuation(ByteAt(text, offset + i)))
            return 1;
    return size;
}

std::string_view LineAt(std::string_view text, std::size_t offset) {
    const std::size_t before = offset == 0 ? std::string_view::npos : text.rfind('\n', offset - 1);
    const std::size_t begin = before == std::string_view::npos ? 0 : before + 1;
    std::string_view line = text.substr(begin, std::min(text.find('\n', begin), text.size()) - begin);
    if (line.ends_with('\r'))
        line.remove_suffix(1);
    return line;
}

Location LocationOf(std::string_view text, Span span) {
    const std::string_view before = text.substr(0, span.begin);
    const std::size_t lineBegin = before.rfind('\n') + 1; // npos + 1 is 0
    const std::size_t lineEnd = std::min(text.find('\n', span.begin), text.size());
    Location location;
    location.line = static_cast<std::size_t>(std::count(before.begin(), before.end(), '\n')) + 1;
    location.column = CountCodePoints(text.substr(lineBegin, span.begin - lineBegin)) + 1;
    const std::size_t end = std::min(span.end, lineEnd);
    if (end > span.begin)
        location.width = CountCodePoints(text.substr(span.begin, end - span.begin));
    return location;
}

std::string Printable(std::string_view text) {
    std::string shown;
    for (std::size_t i = 0; i < text.size();) {
        const std::size_t size = CodePointSize(text, i);
        const std::string_view codePoint = text.substr(i, size);
        const bool isByte = size == 1 && ByteAt(text, i) >= 0x80;
        if (codePoint == "\t")
            shown += '\t';
        else if (isByte || IsControl(codePoint))
            shown += '?';
        else
            shown += codePoint;
        i += size;
    }
    return shown;
}

std::string NameOfCharacter(std::string_view text, std::size_t offset) {
    if (offset >= text.size())
        return "the end of the file";
    const std::size_t size = CodePointSize(text, offset);
    const std::string_view codePoint = text.substr(offset, size);
    if (codePoint == "\n" || text.substr(offset, 2) == "\r\n")
        return "the end of the line";
    if (codePoint == " ")
        return "a blank";
    if (codePoint == "\t")
        return "a tab";
    if (codePoint == "\"")
        return "a quote";
    const bool isByte = size == 1 && ByteAt(text, offset) >= 0x80;
    if (!isByte && !IsControl(codePoint))
        return "\"" + std::string(codePoint) + "\"";
    std::array<char, 32> number{};
    std::snprintf(number.data(), number.size(), "the byte 0x%02X", ByteAt(text, offset));
    return number.data();
}

bool NeedsQuotes(std::string_view value) {
    return value.empty() || !std::all_of(value.begin(), value.end(), [](char c) {
               return Velrix::VALUE_CHAR.Contains(static_cast<unsigned char>(c));
           });
}

std::string Quoted(std::string_view value) {
    if (!NeedsQuotes(value))
        return std::string(value);
    std::string quoted = "\"";
    for (const char c : value) {
        if (c == '"' || c == '\\')
            quoted += '\\';
        quoted += c;
    }
    return quoted + '"';
}

} // namespace VelrixTools
