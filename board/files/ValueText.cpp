// SPDX-License-Identifier: Apache-2.0
#include "board/files/ValueText.h"

#include <cerrno>
#include <charconv>
#include <cstdint>
#include <limits>

namespace VelrixBoard {

namespace {

bool TakeFront(std::string_view& text, std::string_view front) {
    if (text.substr(0, front.size()) != front)
        return false;
    text.remove_prefix(front.size());
    return true;
}

bool IsHexadecimal(std::string_view text) {
    return text.size() > 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X') &&
           std::string_view("0123456789abcdefABCDEF").find(text[2]) != std::string_view::npos;
}

// Parses an unsigned number and the end of the text.
int ParseDigits(std::string_view text, int base, std::uint64_t greatest, bool& level) {
    std::uint64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base);
    if (error == std::errc::invalid_argument)
        return EINVAL;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    (void)TakeFront(text, "\n");
    if (error == std::errc::result_out_of_range)
        return ERANGE;
    if (!text.empty())
        return EINVAL;
    if (value > greatest)
        return ERANGE;
    level = value != 0;
    return 0;
}

std::string_view UpToZero(std::string_view text) {
    return text.substr(0, text.find('\0'));
}

} // namespace

int ParseLineValue(std::string_view text, bool& level) {
    text = UpToZero(text);
    std::uint64_t greatest = std::numeric_limits<std::int32_t>::max();
    if (TakeFront(text, "-"))
        ++greatest;
    else
        (void)TakeFront(text, "+");
    if (IsHexadecimal(text))
        return ParseDigits(text.substr(2), 16, greatest, level);
    return ParseDigits(text, !text.empty() && text.front() == '0' ? 8 : 10, greatest, level);
}

int ParseLedValue(std::string_view text, bool& level) {
    text = UpToZero(text);
    (void)TakeFront(text, "+");
    return ParseDigits(text, 10, std::numeric_limits<std::uint32_t>::max(), level);
}

} // namespace VelrixBoard
