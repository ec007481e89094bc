// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string_view>

namespace VelrixBoard {

// Where printed text leaves a terminal's cursor: in which column of a line that is not ended yet, so that something can
// be drawn below and the text be continued. Knows the codes that text is coloured with, carriage returns, tabulators
// and backspaces; a character that takes two columns counts as one, and a program that moves the cursor about is beyond
// it.
class OpenLine final {
public:
    void Take(std::string_view text, int columns);

    // How much of the text does not end in the middle of a character or of a terminal's code, where nothing can be
    // drawn.
    static std::size_t WholeLength(std::string_view text);

    // The line was ended by something else.
    void End() { *this = OpenLine(); }

    bool IsOpen() const { return isOpen; }

    // The cursor is behind the last column: the next character comes into the next row, as does a line feed.
    bool IsRowFull(int columns) const { return Total() > 0 && column > 0 && Total() % columns == 0; }

    // In a terminal that is so wide now. Of a row that is full, that of the row below.
    int Column(int columns) const { return Total() % columns; }

private:
    enum class Within { TEXT, ESCAPE, SEQUENCE, STRING };

    void TakeByte(unsigned char byte, int columns);
    void TakeControl(unsigned char byte, int columns);
    int Total() const { return rowsAbove + column; }

    Within within = Within::TEXT;
    bool isOpen = false;
    int rowsAbove = 0; // the columns that the line took in rows above
    int column = 0;
};

} // namespace VelrixBoard
