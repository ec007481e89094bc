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
#include "config/Grammar.h"

namespace Velrix {

using System::string_ptr;
using System::Collections::Generic::Array;

namespace {

using enum ParserState;
using enum ParserAction;

constexpr std::size_t STATE_COUNT = static_cast<std::size_t>(AFTER_ESCAPE) + 1;

constexpr std::size_t IndexOf(ParserState state) {
    return static_cast<std::size_t>(state);
}

// Transitions precomputed from the rows at compile time: whether the character only extends a run, so that neither the
// state nor the line changes; otherwise the number of the row that applies, from 1.
constexpr unsigned char PROLONGS_RUN = 0;
constexpr unsigned char NO_ROW = 255;
static_assert(std::size(GRAMMAR) < NO_ROW);

constexpr unsigned char Choose(ParserState state, int c) {
    const std::size_t i = FindRow(state, c);
    if (i == std::size(GRAMMAR))
        return NO_ROW;
    const GrammarRow& row = GRAMMAR[i];
    const bool isPlain = row.action == SKIP || row.action == APPEND;
    return row.next == state && isPlain && !NEWLINE.Contains(c) ? PROLONGS_RUN : static_cast<unsigned char>(i + 1);
}

using Choices = std::array<unsigned char, CharacterSet::LAST_VALUE + 1>;

constexpr std::array<Choices, STATE_COUNT> CHOICES = [] {
    std::array<Choices, STATE_COUNT> choices{};
    for (std::size_t state = 0; state < STATE_COUNT; ++state)
        for (std::size_t c = 0; c < choices[state].size(); ++c)
            choices[state][c] = Choose(static_cast<ParserState>(state), static_cast<int>(c));
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
        const GrammarRow& row = GRAMMAR[choice - 1];
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
    if (choice != PROLONGS_RUN && GRAMMAR[choice - 1].action == COMMIT)
        Do(COMMIT);
}

void ConfigParser::Do(ParserAction action) {
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
