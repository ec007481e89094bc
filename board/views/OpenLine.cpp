// SPDX-License-Identifier: Apache-2.0
#include "board/views/OpenLine.h"

#include <algorithm>

namespace VelrixBoard {

namespace {

constexpr int TABULATOR = 8;
constexpr unsigned char ESCAPE_BYTE = 0x1B;
// Longer than any colour code; a longer sequence is not an escape sequence.
constexpr std::size_t LONGEST_CODE = 64;
constexpr unsigned char BELL = 0x07;

} // namespace

void OpenLine::Take(std::string_view text, int columns) {
    for (const char c : text)
        TakeByte(static_cast<unsigned char>(c), columns);
}

// ESC begins "[", parameters and one letter; "]", any text and a bell or another ESC; or one more byte.
void OpenLine::TakeByte(unsigned char byte, int columns) {
    switch (within) {
    case Within::ESCAPE:
        within = byte == '[' ? Within::SEQUENCE : byte == ']' ? Within::STRING : Within::TEXT;
        return;
    case Within::SEQUENCE:
        within = byte >= 0x40 && byte <= 0x7E ? Within::TEXT : Within::SEQUENCE;
        return;
    case Within::STRING:
        within = byte == BELL ? Within::TEXT : byte == ESCAPE_BYTE ? Within::ESCAPE : Within::STRING;
        return;
    case Within::TEXT:
        break;
    }
    if (byte < 0x20)
        return TakeControl(byte, columns);
    isOpen = true;
    // UTF-8 continuation bytes take no column.
    if ((byte & 0xC0) == 0x80)
        return;
    if (column >= columns) {
        rowsAbove += column;
        column = 0;
    }
    ++column;
}

void OpenLine::TakeControl(unsigned char byte, int columns) {
    switch (byte) {
    case '\n':
        return End();
    case ESCAPE_BYTE:
        within = Within::ESCAPE;
        return;
    case '\r':
        column = 0;
        return;
    case '\b':
        column = std::max(0, std::min(column, columns - 1) - 1);
        return;
    case '\t':
        isOpen = true;
        column = std::min((column / TABULATOR + 1) * TABULATOR, columns - 1);
        return;
    default:
        break;
    }
}

std::size_t OpenLine::WholeLength(std::string_view text) {
    const std::size_t from = text.size() - std::min(text.size(), LONGEST_CODE);
    const std::size_t escape = text.rfind(static_cast<char>(ESCAPE_BYTE));
    if (escape != std::string_view::npos && escape >= from) {
        OpenLine code;
        code.Take(text.substr(escape), 1);
        if (code.within != Within::TEXT)
            return escape;
    }
    // The UTF-8 lead byte gives the length.
    for (std::size_t at = text.size(); at-- > from;) {
        const auto byte = static_cast<unsigned char>(text[at]);
        if ((byte & 0xC0) == 0x80)
            continue;
        const std::size_t length = byte < 0xC0 ? 1 : byte < 0xE0 ? 2 : byte < 0xF0 ? 3 : 4;
        return text.size() - at < length ? at : text.size();
    }
    return text.size();
}

} // namespace VelrixBoard
