// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace VelrixTools {

// Columns of the terminal behind the descriptor; elsewhere of the variable COLUMNS, or 80. From 60 to 120.
std::size_t OutputWidth(int descriptor);

// The text in lines of at most width columns, each with the indentation; words are not split.
std::string Wrapped(std::string_view text, std::size_t width, std::size_t indentation);

struct HelpRow {
    std::string name;
    std::string description;
};

struct HelpSection {
    std::string heading; // empty: none
    std::vector<HelpRow> rows;
};

// Two columns, the same for all sections, each after an empty line; omits empty sections. A name that is too long for
// its column gets a line to itself.
std::string InColumns(const std::vector<HelpSection>& sections, std::size_t width);

} // namespace VelrixTools
