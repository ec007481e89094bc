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

enum class ConfigParser::Action : unsigned char {
    REJECT,
    SKIP,
    APPEND, // to the text that belongs to the next state
    CLOSE_HEADER,
    COMMIT,
    COMMIT_AND_FINISH,
    FINISH,

    // In the unfolded table alone: SKIP and APPEND where neither the state nor the line changes.
    SKIP_MORE,
    APPEND_MORE
};

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

struct Row {
    ConfigParser::State state;
    const CharacterSet& on;
    ConfigParser::Action action;
    ConfigParser::State next;
};

using enum ConfigParser::State;
using enum ConfigParser::Action;

constexpr Row ROWS[] = {
    {COMMENT, END_OF_FILE, FINISH, COMMENT},
    {COMMENT, NEWLINE, SKIP, LINE_START},
    {COMMENT, ANY_CHARACTER, SKIP, COMMENT},

    {KEY, WHITESPACE, SKIP, AFTER_KEY},
    {KEY, END_OF_KEY, SKIP, AFTER_END_OF_KEY},
    {KEY, KEY_CHAR, APPEND, KEY},

    {AFTER_KEY, WHITESPACE, SKIP, AFTER_KEY},
    {AFTER_KEY, END_OF_KEY, SKIP, AFTER_END_OF_KEY},

    {LINE_START, END_OF_FILE, FINISH, LINE_START},
    {LINE_START, NEWLINE, SKIP, LINE_START},
    {LINE_START, WHITESPACE, SKIP, LINE_START},
    {LINE_START, COMMENT_MARK, SKIP, COMMENT},
    {LINE_START, BEGINNING_OF_KEY, APPEND, KEY},
    {LINE_START, BEGINNING_OF_SECTION, SKIP, AFTER_BEGINNING_OF_SECTION},

    {SECTION_NAME, KEY_CHAR, APPEND, SECTION_NAME},
    {SECTION_NAME, END_OF_SECTION, CLOSE_HEADER, AFTER_SECTION},

    {AFTER_BEGINNING_OF_SECTION, BEGINNING_OF_KEY, APPEND, SECTION_NAME},

    {AFTER_SECTION, END_OF_FILE, FINISH, AFTER_SECTION},
    {AFTER_SECTION, NEWLINE, SKIP, LINE_START},
    {AFTER_SECTION, WHITESPACE, SKIP, AFTER_SECTION},
    {AFTER_SECTION, COMMENT_MARK, SKIP, COMMENT},

    {UNQUOTED_VALUE, END_OF_FILE, COMMIT_AND_FINISH, UNQUOTED_VALUE},
    {UNQUOTED_VALUE, NEWLINE, COMMIT, LINE_START},
    {UNQUOTED_VALUE, WHITESPACE, COMMIT, AFTER_VALUE},
    {UNQUOTED_VALUE, COMMENT_MARK, COMMIT, COMMENT},
    {UNQUOTED_VALUE, VALUE_CHAR, APPEND, UNQUOTED_VALUE},

    {AFTER_END_OF_KEY, WHITESPACE, SKIP, AFTER_END_OF_KEY},
    {AFTER_END_OF_KEY, QUOTE, SKIP, QUOTED_VALUE},
    {AFTER_END_OF_KEY, VALUE_CHAR, APPEND, UNQUOTED_VALUE},

    {AFTER_VALUE, END_OF_FILE, FINISH, AFTER_VALUE},
    {AFTER_VALUE, NEWLINE, SKIP, LINE_START},
    {AFTER_VALUE, WHITESPACE, SKIP, AFTER_VALUE},
    {AFTER_VALUE, COMMENT_MARK, SKIP, COMMENT},

    {QUOTED_VALUE, QUOTE, COMMIT, AFTER_VALUE},
    {QUOTED_VALUE, ESCAPE, SKIP, AFTER_ESCAPE},
    {QUOTED_VALUE, ANY_CHARACTER, APPEND, QUOTED_VALUE},

    {AFTER_ESCAPE, ANY_CHARACTER, APPEND, QUOTED_VALUE},
};

constexpr std::size_t STATE_COUNT = static_cast<std::size_t>(AFTER_ESCAPE) + 1;

// What to do on a character, and in which state to go on, in one byte. With SKIP_MORE and APPEND_MORE the state stays
// and is left out, so that these two are the same in every state.
class Step final {
public:
    constexpr Step() = default;
    constexpr Step(ConfigParser::Action action, ConfigParser::State next)
        : code(static_cast<unsigned char>(static_cast<unsigned>(action) | static_cast<unsigned>(next) << NEXT_SHIFT)) {}

    constexpr ConfigParser::Action Action() const { return static_cast<ConfigParser::Action>(code & ACTION_MASK); }
    constexpr std::size_t Next() const { return code >> NEXT_SHIFT; }
    constexpr bool operator==(const Step&) const = default;

private:
    static constexpr unsigned NEXT_SHIFT = 4;
    static constexpr unsigned ACTION_MASK = (1 << NEXT_SHIFT) - 1;

    unsigned char code = 0;
};

constexpr Step SKIPS_MORE(SKIP_MORE, ConfigParser::State{});
constexpr Step APPENDS_MORE(APPEND_MORE, ConfigParser::State{});

// The rows unfolded by the compiler: for each state what to do on -1 and on 0 to 255, so that a character costs one
// look-up.
using StateTable = std::array<Step, CharacterSet::LAST_VALUE + 2>;

constexpr std::size_t IndexOf(int c) {
    return static_cast<std::size_t>(c - CharacterSet::END_OF_FILE_VALUE);
}

constexpr std::array<StateTable, STATE_COUNT> Unfold() {
    std::array<StateTable, STATE_COUNT> tables = {};
    for (const Row& row : ROWS)
        for (int c = CharacterSet::END_OF_FILE_VALUE; c <= CharacterSet::LAST_VALUE; ++c) {
            Step& step = tables[static_cast<std::size_t>(row.state)][IndexOf(c)];
            if (step.Action() != REJECT || !row.on.Contains(c))
                continue;
            const bool more = row.next == row.state && !NEWLINE.Contains(c); // a newline needs counting
            step = more && row.action == SKIP     ? SKIPS_MORE
                   : more && row.action == APPEND ? APPENDS_MORE
                                                  : Step(row.action, row.next);
        }
    return tables;
}

constexpr std::array<StateTable, STATE_COUNT> TABLES = Unfold();

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
    column = 0;
    line = 0;
    // The texts of a file mostly live and die together.
    key = StringBuilder::CreateForManyTexts();
    sectionName = StringBuilder::Create();
    value = StringBuilder::CreateForManyTexts();
    result = Sections::Create();
    AddSection(System::String::EMPTY);

    ReadPairs(*stream);
    return result;
}

// Most characters are one more of the same, in a name, a value, a comment: they take the short way at the top of the
// loop.
void ConfigParser::ReadPairs(System::IO::FileStream& stream) {
    // What a state reads by, and the text that grows in it.
    struct Mode {
        const Step* steps; // indexed by the character; the end of the file stands before the first
        StringBuilder* text;
    };
    std::array<Mode, STATE_COUNT> modes;
    for (std::size_t i = 0; i < STATE_COUNT; ++i)
        modes[i] = {TABLES[i].data() + IndexOf(0), value.get()};
    modes[static_cast<std::size_t>(KEY)].text = key.get();
    modes[static_cast<std::size_t>(SECTION_NAME)].text = sectionName.get();

    Mode mode = modes[static_cast<std::size_t>(LINE_START)];
    for (;;) {
        const int c = stream.ReadByte();
        const Step step = mode.steps[c];
        if (step == APPENDS_MORE) [[likely]] {
            mode.text->Append(static_cast<char16_t>(c)); // a byte is a code unit: the file is not decoded
            ++column;
            continue;
        }
        // Counted before the character is handled: an error at a newline names the next line and column 0, and the end
        // of the file counts as a column.
        if (c == '\n') {
            column = 0;
            ++line;
        } else
            ++column;
        if (step == SKIPS_MORE)
            continue;
        mode = modes[step.Next()];
        switch (step.Action()) {
        case SKIP:
            break;
        case APPEND:
            mode.text->Append(static_cast<char16_t>(c));
            break;
        case CLOSE_HEADER:
            CloseHeader();
            break;
        case COMMIT:
            CommitPair();
            break;
        case COMMIT_AND_FINISH:
            CommitPair();
            return;
        case FINISH:
            return;
        default:
            if (END_OF_FILE.Contains(c))
                _throw_unexpected_eof_exception(path);
            _throw_unexpected_char_exception(static_cast<unsigned short>(c), path, line, column);
        }
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
