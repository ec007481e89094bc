// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string_view>

namespace VelrixBoard {

// Tracks a terminal's cursor column in an unfinished line, so that a block can be drawn below it and the text be
// continued. Handles colour codes, carriage returns, tabs and backspaces. Not supported: characters of two columns,
// cursor movement.
class OpenLine final {
public:
    void Take(std::string_view text, int columns);

    // The length of the text without an incomplete character or escape sequence at its end, where nothing can be drawn.
    static std::size_t WholeLength(std::string_view text);

    // Other output ended the line.
    void End() { *this = OpenLine(); }

    bool IsOpen() const { return isOpen; }

    // Pending wrap: the cursor is after the last column; the next character goes to the next row, as does a line feed.
    bool IsRowFull(int columns) const { return Total() > 0 && column > 0 && Total() % columns == 0; }

    // The column at this terminal width. For a full row, that of the row below.
    int Column(int columns) const { return Total() % columns; }

private:
    enum class Within { TEXT, ESCAPE, SEQUENCE, STRING };

    void TakeByte(unsigned char byte, int columns);
    void TakeControl(unsigned char byte, int columns);
    int Total() const { return rowsAbove + column; }

    Within within = Within::TEXT;
    bool isOpen = false;
    int rowsAbove = 0; // the columns of the line in rows above
    int column = 0;
};

} // namespace VelrixBoard
