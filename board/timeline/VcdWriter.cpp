// SPDX-License-Identifier: Apache-2.0
#include "board/timeline/VcdWriter.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

namespace VelrixBoard {

namespace {

// Identifiers of one printable character suffice for a board's signals.
constexpr char FIRST_IDENTIFIER = '!';
constexpr std::size_t MAX_SIGNALS = '~' - '!' + 1;

char IdentifierOf(std::size_t signal) {
    return static_cast<char>(FIRST_IDENTIFIER + static_cast<char>(signal));
}

} // namespace

VcdWriter::VcdWriter(std::string ownPath, const std::vector<Signal>& signals) : path(std::move(ownPath)) {
    if (signals.size() > MAX_SIGNALS)
        throw TimelineError("cannot record " + std::to_string(signals.size()) + " signals in " + path + ": at most " +
                            std::to_string(MAX_SIGNALS));
    file.reset(std::fopen(path.c_str(), "we"));
    if (!file)
        throw TimelineError("cannot write the timeline " + path + ": " + std::strerror(errno));

    std::string text = "$timescale 1 us $end\n$scope module board $end\n";
    for (std::size_t i = 0; i < signals.size(); ++i)
        text += std::string("$var wire 1 ") + IdentifierOf(i) + " " + SignalName(signals[i].name) + " $end\n";
    text += "$upscope $end\n$enddefinitions $end\n#0\n$dumpvars\n";
    for (std::size_t i = 0; i < signals.size(); ++i)
        text += std::string(signals[i].initial ? "1" : "0") + IdentifierOf(i) + "\n";
    Put(text + "$end\n");
}

void VcdWriter::Write(std::size_t signal, bool level, TimelineTime time) {
    last = std::max(time, last + TimelineTime(1));
    Put("#" + std::to_string(last.count()) + "\n" + (level ? "1" : "0") + IdentifierOf(signal) + "\n");
}

void VcdWriter::Finish(TimelineTime time) {
    last = std::max(time, last + TimelineTime(1));
    Put("#" + std::to_string(last.count()) + "\n");
}

void VcdWriter::Put(const std::string& text) {
    if (std::fwrite(text.data(), 1, text.size(), file.get()) != text.size() || std::fflush(file.get()) != 0)
        throw TimelineError("cannot write the timeline " + path + ": " + std::strerror(errno));
}

} // namespace VelrixBoard
