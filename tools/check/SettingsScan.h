// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "config/Grammar.h"

namespace VelrixTools {

// A part of the file's bytes.
struct Span {
    std::size_t begin = 0;
    std::size_t end = 0;
};

// A name or a value: what the library reads, and where it is written. The span of a quoted value includes its quotes.
struct Word {
    std::string text;
    Span span;
};

struct ScannedPair {
    Word key;
    Word value;
};

struct ScannedSection {
    Word name;
    std::vector<ScannedPair> pairs;
};

// Where the grammar no longer fits, and the words that are incomplete there.
struct Stop {
    Velrix::ParserState state;
    std::size_t offset; // of the character that does not fit; the file's size at its end
    Word name;
    Word key;
    Word value;
};

// The sections in the file's order; the first one, with an empty name, holds the keys before the first header. A name
// may occur twice. Before the stop the same as ConfigFile::ReadAll reads.
struct ScannedFile {
    std::vector<ScannedSection> sections;
    std::optional<Stop> stop;
};

// Reads by the parser's table, and counts positions, which the library's parser does not keep. Never throws for the
// text's content.
ScannedFile ScanSettings(std::string_view text);

} // namespace VelrixTools
