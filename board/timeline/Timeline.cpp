// SPDX-License-Identifier: Apache-2.0
#include "board/timeline/Timeline.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>

namespace VelrixBoard {

namespace {

constexpr int FIRST_YEAR = 1970, LAST_YEAR = 2200;

// Digits alone, all of the text.
std::optional<long> ParseDigits(std::string_view text) {
    long number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool isWhole = error == std::errc() && end == text.data() + text.size();
    return isWhole && text.find_first_not_of("0123456789") == text.npos ? std::optional(number) : std::nullopt;
}

// ".25", up to nanoseconds; empty is none.
std::optional<std::chrono::nanoseconds> ParseFraction(std::string_view text) {
    constexpr std::size_t MOST_DIGITS = 9;
    if (text.empty())
        return std::chrono::nanoseconds(0);
    if (text[0] != '.' || text.size() < 2 || text.size() > MOST_DIGITS + 1)
        return std::nullopt;
    std::string digits(text.substr(1));
    digits.resize(MOST_DIGITS, '0');
    const auto number = ParseDigits(digits);
    return number ? std::optional(std::chrono::nanoseconds(*number)) : std::nullopt;
}

} // namespace

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
    constexpr double DAY = 24 * 3600e6, YEAR = 365 * DAY;
    constexpr struct {
        std::string_view name;
        double us;
    } UNITS[] = {{"us", 1}, {"ms", 1e3}, {"s", 1e6}, {"min", 60e6}, {"h", 3600e6}, {"d", DAY}};
    for (const auto& [name, us] : UNITS)
        if (unit == name && number * us <= YEAR)
            return TimelineTime(std::llround(number * us));
    return std::nullopt;
}

std::optional<std::chrono::nanoseconds> ParseDate(std::string_view text) {
    constexpr std::string_view FORM = "0000-00-00T00:00:00";
    if (text.size() <= FORM.size() || text.back() != 'Z')
        return std::nullopt;
    for (std::size_t i = 0; i < FORM.size(); ++i)
        if (FORM[i] == '0' ? text[i] < '0' || text[i] > '9' : text[i] != FORM[i])
            return std::nullopt;
    const auto part = [text](std::size_t at, std::size_t size) {
        return static_cast<int>(ParseDigits(text.substr(at, size)).value_or(0));
    };
    const auto fraction = ParseFraction(text.substr(FORM.size(), text.size() - FORM.size() - 1));
    const std::chrono::year_month_day day{std::chrono::year(part(0, 4)),
                                          std::chrono::month(static_cast<unsigned>(part(5, 2))),
                                          std::chrono::day(static_cast<unsigned>(part(8, 2)))};
    const int hour = part(11, 2), minute = part(14, 2), second = part(17, 2);
    if (!fraction || !day.ok() || part(0, 4) < FIRST_YEAR || part(0, 4) > LAST_YEAR || hour > 23 || minute > 59 ||
        second > 59)
        return std::nullopt;
    return std::chrono::sys_days(day).time_since_epoch() + std::chrono::hours(hour) + std::chrono::minutes(minute) +
           std::chrono::seconds(second) + *fraction;
}

std::string TextOfDate(std::chrono::nanoseconds sinceEpoch) {
    const auto day = std::chrono::floor<std::chrono::days>(sinceEpoch);
    const std::chrono::year_month_day date{std::chrono::sys_days(day)};
    const std::chrono::hh_mm_ss time(sinceEpoch - day);
    char text[64];
    std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02d:%02d:%02d.%09dZ", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                  static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
                  static_cast<int>(time.seconds().count()), static_cast<int>(time.subseconds().count()));
    return text;
}

} // namespace VelrixBoard
