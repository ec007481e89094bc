// SPDX-License-Identifier: Apache-2.0
#include "config/ConfigParser.h"

#include <array>
#include <cstddef>
#include <iterator>
#include <utility>

#include <System/Collections/Generic/Array.h>
#include <System/IO/File.h>
#include <System/IO/FileStream.h>
#include <System/Raisers.h>

#include <velrix/config/ParseErrors.h>

#include "config/CharacterSet.h"

namespace Velrix {

using System::string_ptr;
using System::Collections::Generic::Array;

enum class ConfigParser::Action : unsigned char {
    SKIP,
    APPEND, // to the text that belongs to the next state
    CLOSE_HEADER,
    COMMIT
};

namespace {

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
// character.

struct Row {
    ConfigParser::State state;
    const CharacterSet& on;
    ConfigParser::Action action;
    ConfigParser::State next;
};

using enum ConfigParser::State;
using enum ConfigParser::Action;

constexpr Row ROWS[] = {
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

constexpr std::size_t STATE_COUNT = static_cast<std::size_t>(AFTER_ESCAPE) + 1;

constexpr std::size_t IndexOf(ConfigParser::State state) {
    return static_cast<std::size_t>(state);
}

// Transitions precomputed from the rows at compile time: whether the character only extends a run, so that neither the
// state nor the line changes; otherwise the number of the row that applies, from 1.
constexpr unsigned char PROLONGS_RUN = 0;
constexpr unsigned char NO_ROW = 255;
static_assert(std::size(ROWS) < NO_ROW);

constexpr unsigned char Choose(ConfigParser::State state, int c) {
    for (std::size_t i = 0; i < std::size(ROWS); ++i) {
        const Row& row = ROWS[i];
        if (row.state != state || !row.on.Contains(c))
            continue;
        const bool isPlain = row.action == SKIP || row.action == APPEND;
        return row.next == state && isPlain && !NEWLINE.Contains(c) ? PROLONGS_RUN : static_cast<unsigned char>(i + 1);
    }
    return NO_ROW;
}

using Choices = std::array<unsigned char, CharacterSet::LAST_VALUE + 1>;

constexpr std::array<Choices, STATE_COUNT> CHOICES = [] {
    std::array<Choices, STATE_COUNT> choices{};
    for (std::size_t state = 0; state < STATE_COUNT; ++state)
        for (std::size_t c = 0; c < choices[state].size(); ++c)
            choices[state][c] = Choose(static_cast<ConfigParser::State>(state), static_cast<int>(c));
    return choices;
}();

// The read size. A settings file fits into one block.
constexpr int BLOCK_SIZE = 8192;

} // namespace

std::shared_ptr<ConfigParser> ConfigParser::Create() {
    return Own(new ConfigParser);
}

ConfigParser::~ConfigParser() = default;

std::shared_ptr<ConfigParser::Sections> ConfigParser::Parse(string_ptr ownPath) {
    if (!ownPath)
        System::_throw_argument_null_exception("path");
    const auto stream = System::IO::File::OpenRead(ownPath);
    path = std::move(ownPath);
    state = LINE_START;
    line = 0;
    newline = -1;
    key.Clear();
    sectionName.Clear();
    value.Clear();
    result = Sections::Create();
    AddSection(System::String::EMPTY);

    // The sentinel line end behind a block ends every run.
    const auto block = Array<unsigned char>::Create(BLOCK_SIZE + 1);
    while (const int count = stream->Read(block, 0, BLOCK_SIZE)) {
        (*block)[count] = '\n';
        TakeBlock(block->Data(), count);
        key.Keep();
        sectionName.Keep();
        value.Keep();
        newline -= count;
    }
    TakeEnd();
    return result;
}

// Most characters extend a name, a value or a comment. A byte is a code unit: the file is not decoded.
void ConfigParser::TakeBlock(const unsigned char* block, int count) {
    // The text that the state appends to; none in states that skip characters.
    std::array<Piece*, STATE_COUNT> growing{};
    growing[IndexOf(KEY)] = &key;
    growing[IndexOf(SECTION_NAME)] = &sectionName;
    growing[IndexOf(UNQUOTED_VALUE)] = growing[IndexOf(QUOTED_VALUE)] = &value;

    const unsigned char* const end = block + count;
    const unsigned char* next = block;
    const unsigned char* run = block;
    for (;;) {
        const Choices& choices = CHOICES[IndexOf(state)];
        while (choices[*next] == PROLONGS_RUN)
            ++next;
        if (next != run && growing[IndexOf(state)])
            growing[IndexOf(state)]->Append(run, next);
        if (next == end)
            return;

        // Counted before the character is handled: an error at a newline names the next line and column 0.
        if (*next == '\n') {
            newline = static_cast<int>(next - block);
            ++line;
        }
        const unsigned char choice = choices[*next];
        if (choice == NO_ROW)
            _throw_unexpected_char_exception(*next, path, line, static_cast<int>(next - block) - newline);
        const Row& row = ROWS[choice - 1];
        state = row.next;
        run = row.action == APPEND ? next : next + 1;
        ++next;
        if (row.action >= CLOSE_HEADER)
            Do(row.action);
    }
}

void ConfigParser::TakeEnd() {
    const unsigned char choice = Choose(state, CharacterSet::END_OF_FILE_VALUE);
    if (choice == NO_ROW)
        _throw_unexpected_eof_exception(path);
    if (choice != PROLONGS_RUN && ROWS[choice - 1].action == COMMIT)
        Do(COMMIT);
}

void ConfigParser::Do(Action action) {
    if (action == CLOSE_HEADER) {
        AddSection(texts.Make(sectionName.View()));
        sectionName.Clear();
        return;
    }
    currentSection->Add(texts.Make(key.View()), texts.Make(value.View()));
    key.Clear();
    value.Clear();
}

void ConfigParser::AddSection(const string_ptr& name) {
    currentSection = Section::Create();
    result->Add(name, currentSection);
}

void ConfigParser::Piece::Append(std::string_view more) {
    if (view.data() + view.size() == more.data())
        view = {view.data(), view.size() + more.size()};
    else {
        Keep();
        kept += more;
        view = kept;
    }
}

void ConfigParser::Piece::Keep() {
    if (view.data() == kept.data())
        return;
    kept = view;
    view = kept;
}

} // namespace Velrix
