// SPDX-License-Identifier: Apache-2.0
#include "tools/check/SettingsScan.h"

#include <iterator>
#include <utility>

namespace VelrixTools {

namespace {

using Velrix::CharacterSet;
using Velrix::GrammarRow;
using enum Velrix::ParserAction;
using enum Velrix::ParserState;

class Scanner final {
public:
    explicit Scanner(std::string_view ownText) : text(ownText) { file.sections.emplace_back(); }

    ScannedFile Run() {
        while (offset <= text.size() && !file.stop)
            Step();
        return std::move(file);
    }

private:
    void Step() {
        const bool isEnd = offset == text.size();
        const int c = isEnd ? CharacterSet::END_OF_FILE_VALUE : static_cast<unsigned char>(text[offset]);
        const std::size_t number = Velrix::FindRow(state, c);
        if (number == std::size(Velrix::GRAMMAR)) {
            file.stop = {state, offset, name, key, value};
            return;
        }
        const GrammarRow& row = Velrix::GRAMMAR[number];
        if (row.next != state)
            Begin(row.next);
        if (row.action == APPEND)
            WordOf(row.next).text += static_cast<char>(c);
        if (row.next != state)
            End();
        if (row.action == COMMIT)
            Commit();
        if (row.action == CLOSE_HEADER)
            file.sections.push_back({std::exchange(name, {}), {}});
        state = row.next;
        ++offset;
    }

    // The word that a state's characters belong to.
    Word& WordOf(Velrix::ParserState owner) { return owner == KEY ? key : owner == SECTION_NAME ? name : value; }

    void Begin(Velrix::ParserState next) {
        const bool isInValue = state == QUOTED_VALUE || state == AFTER_ESCAPE;
        if (next == KEY || next == SECTION_NAME || next == UNQUOTED_VALUE || (next == QUOTED_VALUE && !isInValue))
            WordOf(next).span = {offset, offset};
        if (next == AFTER_BEGINNING_OF_SECTION)
            name.span = {offset, offset + 1};
    }

    void End() {
        if (state == KEY || state == SECTION_NAME || state == UNQUOTED_VALUE)
            WordOf(state).span.end = offset;
        if (state == QUOTED_VALUE)
            value.span.end = offset + 1;
    }

    void Commit() {
        value.span.end = state == QUOTED_VALUE ? offset + 1 : offset; // also at the end of the file, in the same state
        file.sections.back().pairs.push_back({std::exchange(key, {}), std::exchange(value, {})});
    }

    const std::string_view text;
    ScannedFile file;
    std::size_t offset = 0;
    Velrix::ParserState state = LINE_START;
    Word key;
    Word name;
    Word value;
};

} // namespace

ScannedFile ScanSettings(std::string_view text) {
    return Scanner(text).Run();
}

} // namespace VelrixTools
