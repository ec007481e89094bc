// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace VelrixBoard {

// Time since the program was started; the resolution of the files.
using TimelineTime = std::chrono::microseconds;

// One level change of one signal.
struct Change {
    TimelineTime time;
    bool level;

    friend bool operator==(const Change&, const Change&) = default;
};

// The changes of one line or LED element, earliest first, with alternating levels.
struct Signal {
    std::string name; // "OXBO_RESET1_N", "MS_green": letters, digits and "_"
    bool initial = false;
    std::vector<Change> changes;

    friend bool operator==(const Signal&, const Signal&) = default;
};

// The history of all signals of a board. A value.
struct Timeline {
    std::vector<Signal> signals;
    TimelineTime end{0};

    // The signal of that name, or null.
    const Signal* Find(const std::string& name) const;

    // The time of the first change of any signal; end if there is none.
    TimelineTime FirstChange() const;

    friend bool operator==(const Timeline&, const Timeline&) = default;
};

// A timeline could not be written, read or parsed. The message says what, where (file and line), and what to do.
class TimelineError final : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// A valid VCD name: everything but letters, digits and "_" becomes "_" ("MS.green" is "MS_green").
std::string SignalName(const std::string& name);

// "1.250 s", "38 ms", "0.4 ms": rounded for people.
std::string TextOf(TimelineTime time);

// Parses a time: digits, optionally a point and more digits, and "us", "ms", "s", "min", "h" or "d" without a blank,
// rounded to microseconds. Nothing for other texts and for more than a year.
std::optional<TimelineTime> ParseTime(std::string_view text);

// A moment since 1970: "2038-01-19T03:14:00Z", with or without a fraction of a second, from 1970 to 2200. Nothing for
// other texts.
std::optional<std::chrono::nanoseconds> ParseDate(std::string_view text);
std::string TextOfDate(std::chrono::nanoseconds sinceEpoch);

} // namespace VelrixBoard
