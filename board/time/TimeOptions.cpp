// SPDX-License-Identifier: Apache-2.0
#include "board/time/TimeOptions.h"

#include <charconv>

namespace VelrixBoard {

namespace {

constexpr double SLOWEST = 0.001, FASTEST = 100'000;

} // namespace

std::optional<TimeOptions> ParseTimeOptions(std::string_view text) {
    TimeOptions options;
    if (text == "real")
        return options;
    options.isVirtual = true;
    if (text == "virtual")
        return options;
    if (text.empty() || text.back() != 'x')
        return std::nullopt;
    text.remove_suffix(1);
    double factor = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), factor, std::chars_format::fixed);
    if (error != std::errc() || end != text.data() + text.size() || !(factor >= SLOWEST && factor <= FASTEST))
        return std::nullopt;
    options.pace = factor;
    return options;
}

} // namespace VelrixBoard
