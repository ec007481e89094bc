// SPDX-License-Identifier: Apache-2.0
#include "tools/check/Finding.h"

#include <algorithm>
#include <vector>

namespace VelrixTools {

namespace {

constexpr std::size_t LONGEST_SHOWN = 120; // code points of a source line
constexpr std::size_t SHOWN_BEFORE = 40;   // the place, in a longer one
constexpr std::size_t NUMBER_WIDTH = 5;

std::string Coloured(const std::string& text, const char* colour, bool inColour) {
    return inColour ? std::string("\x1b[") + colour + "m" + text + "\x1b[0m" : text;
}

std::vector<std::string> CodePoints(const std::string& text) {
    std::vector<std::string> codePoints;
    for (std::size_t i = 0; i < text.size(); i += codePoints.back().size())
        codePoints.push_back(text.substr(i, CodePointSize(text, i)));
    return codePoints;
}

} // namespace

const char* NameOf(Severity severity) {
    return severity == Severity::ERROR ? "error" : "warning";
}

std::string Describe(const std::string& file, const Finding& finding, bool inColour) {
    const Location& place = finding.location;
    const std::vector<std::string> line = CodePoints(Printable(finding.sourceLine));
    const bool isLong = line.size() > LONGEST_SHOWN;
    const std::size_t mark = place.column - 1;
    const std::size_t first = isLong && mark > SHOWN_BEFORE ? mark - SHOWN_BEFORE : 0;
    const std::size_t last = std::min(line.size(), first + LONGEST_SHOWN);

    std::string source = first > 0 ? "..." : "", blanks = first > 0 ? "   " : "";
    for (std::size_t i = first; i < last; ++i)
        source += line[i];
    source += last < line.size() ? "..." : "";
    // A tab before the place moves the mark as it moves the text.
    for (std::size_t i = first; i < mark; ++i)
        blanks += i < line.size() && line[i] == "\t" ? "\t" : " ";
    const std::size_t room = last > mark ? last - mark : 1;
    const std::string marks = "^" + std::string(std::min(place.width, room) - 1, '~');

    const char* const colour = finding.severity == Severity::ERROR ? "1;31" : "1;35";
    std::string number = std::to_string(place.line);
    number.insert(0, NUMBER_WIDTH - std::min(number.size(), NUMBER_WIDTH), ' ');
    const std::string where =
        Printable(file) + ":" + std::to_string(place.line) + ":" + std::to_string(place.column) + ":";
    return Coloured(where, "1", inColour) + " " +
           Coloured(std::string(NameOf(finding.severity)) + ":", colour, inColour) + " " + finding.text + "\n" +
           number + " | " + source + "\n" + std::string(number.size(), ' ') + " | " + blanks +
           Coloured(marks, colour, inColour) + "\n";
}

} // namespace VelrixTools
