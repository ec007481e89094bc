// SPDX-License-Identifier: Apache-2.0
#include "tools/help/Layout.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>

#include <sys/ioctl.h>

namespace VelrixTools {

namespace {

// Longer lines are hard to read.
constexpr std::size_t WIDEST = 120;
constexpr std::size_t NARROWEST = 60;
constexpr std::size_t USUAL_WIDTH = 80;

// A column of names that leaves room for descriptions.
constexpr std::size_t WIDEST_NAME = 20;
constexpr std::size_t MARGIN = 2;

// The variable COLUMNS; 0 where it is no number.
std::size_t ColumnsOfEnvironment() {
    const char* const variable = std::getenv("COLUMNS");
    const std::string_view text = variable == nullptr ? "" : variable;
    std::size_t columns = 0;
    const auto [rest, error] = std::from_chars(text.data(), text.data() + text.size(), columns);
    return error == std::errc() && rest == text.data() + text.size() ? columns : 0;
}

} // namespace

std::size_t OutputWidth(int descriptor) {
    winsize size{};
    const bool isTerminal = ::ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    const std::size_t columns = isTerminal ? std::size_t{size.ws_col} : ColumnsOfEnvironment();
    return std::clamp(columns == 0 ? USUAL_WIDTH : columns, NARROWEST, WIDEST);
}

std::string Wrapped(std::string_view text, std::size_t width, std::size_t indentation) {
    std::string wrapped, line;
    const std::string indent(indentation, ' ');
    while (!text.empty()) {
        const std::string_view word = text.substr(0, text.find(' '));
        text.remove_prefix(std::min(word.size() + 1, text.size()));
        if (!line.empty() && indentation + line.size() + 1 + word.size() > width) {
            wrapped += indent + line + "\n";
            line.clear();
        }
        line += (line.empty() ? "" : " ") + std::string(word);
    }
    return wrapped + (line.empty() ? "" : indent + line + "\n");
}

std::string InColumns(const std::vector<HelpSection>& sections, std::size_t width) {
    std::size_t names = 0;
    for (const HelpSection& section : sections)
        for (const HelpRow& row : section.rows)
            names = std::max(names, std::min(row.name.size(), WIDEST_NAME));
    const std::size_t indentation = MARGIN + names + MARGIN;
    std::string text;
    for (const HelpSection& section : sections) {
        if (!section.rows.empty())
            text += "\n" + (section.heading.empty() ? "" : section.heading + ":\n\n");
        for (const HelpRow& row : section.rows) {
            const std::string begin = std::string(MARGIN, ' ') + row.name;
            const std::string wrapped = Wrapped(row.description, width, indentation);
            const bool isBeside = begin.size() + MARGIN <= indentation && !wrapped.empty();
            text += isBeside ? begin + wrapped.substr(begin.size()) : begin + "\n" + wrapped;
        }
    }
    return text;
}

} // namespace VelrixTools
