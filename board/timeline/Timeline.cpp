// SPDX-License-Identifier: Apache-2.0
#include "board/timeline/Timeline.h"

#include <algorithm>
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

} // namespace VelrixBoard
