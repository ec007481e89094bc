// SPDX-License-Identifier: Apache-2.0
#include "board/timeline/VcdText.h"

#include <algorithm>

namespace VelrixBoard {

namespace {

char IdentifierOf(std::size_t signal) {
    return static_cast<char>('!' + static_cast<char>(signal));
}

} // namespace

std::string VcdText::Header(const std::vector<Signal>& signals) {
    std::string text = "$timescale 1 us $end\n$scope module board $end\n";
    for (std::size_t i = 0; i < signals.size(); ++i)
        text += std::string("$var wire 1 ") + IdentifierOf(i) + " " + SignalName(signals[i].name) + " $end\n";
    text += "$upscope $end\n$enddefinitions $end\n#0\n$dumpvars\n";
    for (std::size_t i = 0; i < signals.size(); ++i)
        text += std::string(signals[i].initial ? "1" : "0") + IdentifierOf(i) + "\n";
    return text + "$end\n";
}

std::string VcdText::Change(std::size_t signal, bool level, TimelineTime time) {
    last = std::max(time, last + TimelineTime(1));
    return "#" + std::to_string(last.count()) + "\n" + (level ? "1" : "0") + IdentifierOf(signal) + "\n";
}

std::string VcdText::End(TimelineTime time) {
    last = std::max(time, last + TimelineTime(1));
    return "#" + std::to_string(last.count()) + "\n";
}

} // namespace VelrixBoard
