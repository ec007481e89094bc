// SPDX-License-Identifier: Apache-2.0
#include "board/timeline/Timeline.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>

namespace VelrixBoard {

const Signal* Timeline::Find(const std::string& name) const {
    const auto found = std::find_if(signals.begin(), signals.end(), [&](const Signal& s) { return s.name == name; });
    return found == signals.end() ? nullptr : &*found;
}

TimelineTime Timeline::FirstChange() const {
    TimelineTime first = end;
    for (const Signal& signal : signals)
        if (!signal.changes.empty())
            first = std::min(first, signal.changes.front().time);
    return first;
}

std::string SignalName(const std::string& name) {
    std::string result = name;
    for (char& c : result)
        if (!(c >= 'a' && c <= 'z') && !(c >= 'A' && c <= 'Z') && !(c >= '0' && c <= '9'))
            c = '_';
    return result;
}

std::string TextOf(TimelineTime time) {
    const auto us = static_cast<double>(time.count());
    char text[64];
    if (us >= 1e6)
        std::snprintf(text, sizeof text, "%.3f s", us / 1e6);
    else if (us >= 1e4)
        std::snprintf(text, sizeof text, "%.0f ms", us / 1e3);
    else
        std::snprintf(text, sizeof text, "%.1f ms", us / 1e3);
    return text;
}

std::optional<TimelineTime> ParseTime(std::string_view text) {
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    const std::size_t length = std::min(text.find_first_not_of("0123456789."), text.size());
    // from_chars also accepts "inf", "nan", "1." and ".5".
    if (length == 0 || !isDigit(text.front()) || !isDigit(text[length - 1]))
        return std::nullopt;
    double number = 0;
    const auto [rest, error] = std::from_chars(text.data(), text.data() + length, number, std::chars_format::fixed);
    if (error != std::errc() || rest != text.data() + length)
        return std::nullopt;
    const std::string_view unit = text.substr(length);
    const double us = unit == "us" ? 1 : unit == "ms" ? 1e3 : unit == "s" ? 1e6 : unit == "min" ? 60e6 : -1;
    constexpr double YEAR = 365.0 * 24 * 3600 * 1e6;
    if (us < 0 || number * us > YEAR)
        return std::nullopt;
    return TimelineTime(std::llround(number * us));
}

} // namespace VelrixBoard
