// SPDX-License-Identifier: Apache-2.0
#include "config/ConfigParser.h"

#include <array>
#include <cstddef>

#include <System/IO/File.h>
#include <System/IO/FileStream.h>
#include <System/Raisers.h>

#include <velrix/config/ParseErrors.h>

#include "config/CharacterSet.h"

namespace Velrix {

using System::string_ptr;
using System::Text::StringBuilder;

namespace {

// The grammar:
//
//     file     = { line newline } line
//     line     = blanks [ header | pair ] blanks [ comment ]
//     header   = "[" name "]"                         no blanks within
//     pair     = name blanks "=" blanks value         a value is required; "" is the empty one
//     name     = ( "_" | letter ) { "_" | letter | digit }
//     value    = bare | quoted
//     bare     = valuechar { valuechar }              letters, digits, "+", "-", ".", "/"
//     quoted   = '"' { any but '"' and "\" | "\" any } '"'    newlines too; "\" takes the next character as it is
//     comment  = "#" { any but newline }
//     blanks   = { space | tab | vertical tab | form feed | carriage return }
//
// The last line may end with the end of the file in place of a newline, but not within a name or quotes, nor right
// after "=".
//
// Below is the same as a machine. The first row of a state whose set holds the character (or the end of the file) is
// taken: its action is done and its state is next. What no row of the state holds is an error: the end of the file the
// unexpected end, anything else the unexpected character.

enum class Action : unsigned char {
    REJECT,
    STAY, // nothing to do but to change the state
    APPEND_TO_KEY,
    APPEND_TO_VALUE,
    APPEND_TO_NAME,
    CLOSE_HEADER,
    COMMIT,
    COMMIT_AND_FINISH,
    FINISH
};

struct Row {
    ConfigParser::State state;
    const CharacterSet& on;
    Action action;
    ConfigParser::State next;
};

using enum ConfigParser::State;
using enum Action;

constexpr Row ROWS[] = {
    {COMMENT, END_OF_FILE, FINISH, COMMENT},
    {COMMENT, NEWLINE, STAY, LINE_START},
    {COMMENT, ANY_CHARACTER, STAY, COMMENT},

    {KEY, WHITESPACE, STAY, AFTER_KEY},
    {KEY, END_OF_KEY, STAY, AFTER_END_OF_KEY},
    {KEY, KEY_CHAR, APPEND_TO_KEY, KEY},

    {AFTER_KEY, WHITESPACE, STAY, AFTER_KEY},
    {AFTER_KEY, END_OF_KEY, STAY, AFTER_END_OF_KEY},

    {LINE_START, END_OF_FILE, FINISH, LINE_START},
    {LINE_START, NEWLINE, STAY, LINE_START},
    {LINE_START, WHITESPACE, STAY, LINE_START},
    {LINE_START, COMMENT_MARK, STAY, COMMENT},
    {LINE_START, BEGINNING_OF_KEY, APPEND_TO_KEY, KEY},
    {LINE_START, BEGINNING_OF_SECTION, STAY, AFTER_BEGINNING_OF_SECTION},

    {SECTION_NAME, KEY_CHAR, APPEND_TO_NAME, SECTION_NAME},
    {SECTION_NAME, END_OF_SECTION, CLOSE_HEADER, AFTER_SECTION},

    {AFTER_BEGINNING_OF_SECTION, BEGINNING_OF_KEY, APPEND_TO_NAME, SECTION_NAME},

    {AFTER_SECTION, END_OF_FILE, FINISH, AFTER_SECTION},
    {AFTER_SECTION, NEWLINE, STAY, LINE_START},
    {AFTER_SECTION, WHITESPACE, STAY, AFTER_SECTION},
    {AFTER_SECTION, COMMENT_MARK, STAY, COMMENT},

    {UNQUOTED_VALUE, END_OF_FILE, COMMIT_AND_FINISH, UNQUOTED_VALUE},
    {UNQUOTED_VALUE, NEWLINE, COMMIT, LINE_START},
    {UNQUOTED_VALUE, WHITESPACE, COMMIT, AFTER_VALUE},
    {UNQUOTED_VALUE, COMMENT_MARK, COMMIT, COMMENT},
    {UNQUOTED_VALUE, VALUE_CHAR, APPEND_TO_VALUE, UNQUOTED_VALUE},

    {AFTER_END_OF_KEY, WHITESPACE, STAY, AFTER_END_OF_KEY},
    {AFTER_END_OF_KEY, QUOTE, STAY, QUOTED_VALUE},
    {AFTER_END_OF_KEY, VALUE_CHAR, APPEND_TO_VALUE, UNQUOTED_VALUE},

    {AFTER_VALUE, END_OF_FILE, FINISH, AFTER_VALUE},
    {AFTER_VALUE, NEWLINE, STAY, LINE_START},
    {AFTER_VALUE, WHITESPACE, STAY, AFTER_VALUE},
    {AFTER_VALUE, COMMENT_MARK, STAY, COMMENT},

    {QUOTED_VALUE, QUOTE, COMMIT, AFTER_VALUE},
    {QUOTED_VALUE, ESCAPE, STAY, AFTER_ESCAPE},
    {QUOTED_VALUE, ANY_CHARACTER, APPEND_TO_VALUE, QUOTED_VALUE},

    {AFTER_ESCAPE, ANY_CHARACTER, APPEND_TO_VALUE, QUOTED_VALUE},
};

struct Step {
    Action action = REJECT;
    ConfigParser::State next = LINE_START;
};

// The rows unfolded by the compiler: for each state what to do on -1 and on 0 to 255, so that a character costs one
// look-up.
using StepsOfState = std::array<Step, CharacterSet::LAST_VALUE + 2>;
using Steps = std::array<StepsOfState, static_cast<std::size_t>(AFTER_ESCAPE) + 1>;

constexpr std::size_t StepIndex(int c) {
    return static_cast<std::size_t>(c - CharacterSet::END_OF_FILE_VALUE);
}

constexpr Steps Unfold() {
    Steps steps;
    for (const Row& row : ROWS)
        for (int c = CharacterSet::END_OF_FILE_VALUE; c <= CharacterSet::LAST_VALUE; ++c) {
            Step& step = steps[static_cast<std::size_t>(row.state)][StepIndex(c)];
            if (step.action == REJECT && row.on.Contains(c))
                step = {row.action, row.next};
        }
    return steps;
}

constexpr Steps STEPS = Unfold();

} // namespace

std::shared_ptr<ConfigParser> ConfigParser::Create() {
    return std::shared_ptr<ConfigParser>(new ConfigParser);
}

std::shared_ptr<ConfigParser::Sections> ConfigParser::Parse(string_ptr ownPath) {
    if (!ownPath)
        System::_throw_argument_null_exception("path");
    const auto stream = System::IO::File::OpenRead(ownPath);
    path = std::move(ownPath);
    column = 0;
    line = 0;
    done = false;
    key = StringBuilder::Create();
    sectionName = StringBuilder::Create();
    value = StringBuilder::Create();
    result = Sections::Create();
    AddSection(System::String::EMPTY);
    state = LINE_START;

    while (!done) {
        const int c = stream->ReadByte();
        CountPosition(c);
        Handle(c);
    }
    return result;
}

// Done before the character is handled: an error at a newline names the next line and column 0, and the end of the file
// counts as a column.
inline void ConfigParser::CountPosition(int c) {
    if (c == '\n') {
        column = 0;
        ++line;
    } else
        ++column;
}

inline void ConfigParser::Handle(int c) {
    // A byte is a code unit: the file is not decoded.
    const auto unit = static_cast<unsigned short>(c);
    const Step step = STEPS[static_cast<std::size_t>(state)][StepIndex(c)];
    state = step.next;
    switch (step.action) {
    case STAY:
        break;
    case APPEND_TO_KEY:
        key->Append(unit);
        break;
    case APPEND_TO_VALUE:
        value->Append(unit);
        break;
    case APPEND_TO_NAME:
        sectionName->Append(unit);
        break;
    case CLOSE_HEADER:
        CloseHeader();
        break;
    case COMMIT:
        CommitPair();
        break;
    case COMMIT_AND_FINISH:
        CommitPair();
        done = true;
        break;
    case FINISH:
        done = true;
        break;
    case REJECT:
        if (END_OF_FILE.Contains(c))
            _throw_unexpected_eof_exception(path);
        _throw_unexpected_char_exception(unit, path, line, column);
    }
}

void ConfigParser::AddSection(const string_ptr& name) {
    currentSection = Section::Create();
    result->Add(name, currentSection);
}

void ConfigParser::CloseHeader() {
    AddSection(sectionName->ToString());
    sectionName->Clear();
}

// The builders keep their memory for the next pair; clearing them is as good as new ones and costs no allocation.
void ConfigParser::CommitPair() {
    currentSection->Add(key->ToString(), value->ToString());
    key->Clear();
    value->Clear();
}

} // namespace Velrix
