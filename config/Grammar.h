// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <iterator>

#include "config/CharacterSet.h"

namespace Velrix {

// The grammar:
//
//     file     = { line newline } line
//     line     = blanks [ header | pair ] blanks [ comment ]
//     header   = "[" name "]"                         no blanks within
//     pair     = name blanks "=" blanks value         a value is required; "" is empty
//     name     = ( "_" | letter ) { "_" | letter | digit }
//     value    = bare | quoted
//     bare     = valuechar { valuechar }              letters, digits, "+", "-", ".", "/"
//     quoted   = '"' { any but '"' and "\" | "\" any } '"'    newlines too; "\" escapes any character
//     comment  = "#" { any but newline }
//     blanks   = { space | tab | vertical tab | form feed | carriage return }
//
// The last line may end with the end of the file in place of a newline, but not within a name or quotes, nor right
// after "=".
//
// Below is the grammar as a state machine. The first row of the state whose set holds the character (or the end of the
// file) applies: its action runs and its state is next. No match is an error: an unexpected end or an unexpected
// character. Not only the parser runs this table: tools/check does too, to say where and why a file is wrong.

enum class ParserState : unsigned char {
    COMMENT,
    KEY,
    AFTER_KEY,
    LINE_START,
    SECTION_NAME,
    AFTER_BEGINNING_OF_SECTION,
    AFTER_SECTION,
    UNQUOTED_VALUE,
    AFTER_END_OF_KEY,
    AFTER_VALUE,
    QUOTED_VALUE,
    AFTER_ESCAPE
};

enum class ParserAction : unsigned char {
    SKIP,
    APPEND, // to the text that belongs to the next state
    CLOSE_HEADER,
    COMMIT
};

struct GrammarRow {
    ParserState state;
    const CharacterSet& on;
    ParserAction action;
    ParserState next;
};

namespace Detail {

using enum ParserState;
using enum ParserAction;

inline constexpr GrammarRow GRAMMAR[] = {
    {COMMENT, END_OF_FILE, SKIP, COMMENT},
    {COMMENT, NEWLINE, SKIP, LINE_START},
    {COMMENT, ANY_CHARACTER, SKIP, COMMENT},

    {KEY, WHITESPACE, SKIP, AFTER_KEY},
    {KEY, END_OF_KEY, SKIP, AFTER_END_OF_KEY},
    {KEY, KEY_CHAR, APPEND, KEY},

    {AFTER_KEY, WHITESPACE, SKIP, AFTER_KEY},
    {AFTER_KEY, END_OF_KEY, SKIP, AFTER_END_OF_KEY},

    {LINE_START, END_OF_FILE, SKIP, LINE_START},
    {LINE_START, NEWLINE, SKIP, LINE_START},
    {LINE_START, WHITESPACE, SKIP, LINE_START},
    {LINE_START, COMMENT_MARK, SKIP, COMMENT},
    {LINE_START, BEGINNING_OF_KEY, APPEND, KEY},
    {LINE_START, BEGINNING_OF_SECTION, SKIP, AFTER_BEGINNING_OF_SECTION},

    {SECTION_NAME, KEY_CHAR, APPEND, SECTION_NAME},
    {SECTION_NAME, END_OF_SECTION, CLOSE_HEADER, AFTER_SECTION},

    {AFTER_BEGINNING_OF_SECTION, BEGINNING_OF_KEY, APPEND, SECTION_NAME},

    {AFTER_SECTION, END_OF_FILE, SKIP, AFTER_SECTION},
    {AFTER_SECTION, NEWLINE, SKIP, LINE_START},
    {AFTER_SECTION, WHITESPACE, SKIP, AFTER_SECTION},
    {AFTER_SECTION, COMMENT_MARK, SKIP, COMMENT},

    {UNQUOTED_VALUE, END_OF_FILE, COMMIT, UNQUOTED_VALUE},
    {UNQUOTED_VALUE, NEWLINE, COMMIT, LINE_START},
    {UNQUOTED_VALUE, WHITESPACE, COMMIT, AFTER_VALUE},
    {UNQUOTED_VALUE, COMMENT_MARK, COMMIT, COMMENT},
    {UNQUOTED_VALUE, VALUE_CHAR, APPEND, UNQUOTED_VALUE},

    {AFTER_END_OF_KEY, WHITESPACE, SKIP, AFTER_END_OF_KEY},
    {AFTER_END_OF_KEY, QUOTE, SKIP, QUOTED_VALUE},
    {AFTER_END_OF_KEY, VALUE_CHAR, APPEND, UNQUOTED_VALUE},

    {AFTER_VALUE, END_OF_FILE, SKIP, AFTER_VALUE},
    {AFTER_VALUE, NEWLINE, SKIP, LINE_START},
    {AFTER_VALUE, WHITESPACE, SKIP, AFTER_VALUE},
    {AFTER_VALUE, COMMENT_MARK, SKIP, COMMENT},

    {QUOTED_VALUE, QUOTE, COMMIT, AFTER_VALUE},
    {QUOTED_VALUE, ESCAPE, SKIP, AFTER_ESCAPE},
    {QUOTED_VALUE, ANY_CHARACTER, APPEND, QUOTED_VALUE},

    {AFTER_ESCAPE, ANY_CHARACTER, APPEND, QUOTED_VALUE},
};

} // namespace Detail

using Detail::GRAMMAR;

// The number of the row that applies to a character, or to the end of the file, in a state; the number of rows where
// none does and the file is wrong.
constexpr std::size_t FindRow(ParserState state, int c) {
    std::size_t i = 0;
    while (i < std::size(GRAMMAR) && (GRAMMAR[i].state != state || !GRAMMAR[i].on.Contains(c)))
        ++i;
    return i;
}

} // namespace Velrix
