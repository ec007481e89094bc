// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <deque>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "board/virtual/BoardState.h"

namespace VelrixBoard {

// The board as text. On a terminal it is a block of a few lines, redrawn in place: the LEDs in colour, the module
// lines, the end of the web log. Elsewhere it is one line per change: "0.512 s  MS green".
//
// It knows the board by its state alone and writes through the function it was given. On a terminal nobody else may
// write to that terminal; what the program prints goes through Print, which puts it above the block.
class TerminalView final : public BoardObserver {
public:
    using Write = std::function<void(std::string_view text)>;

    enum class Style { BLOCK, LINES };

    // columns bounds the block's width, which has to be drawn without a line wrapping round.
    TerminalView(const BoardState& boardState, Style viewStyle, int terminalColumns, Write writeText);

    void OnSettled(BoardTime time) override;
    void OnWebLog(std::string_view record, BoardTime time) override;
    void OnReboot(std::string_view call, BoardTime time) override;

    // The program's output. An unfinished line is kept until it is complete or the view ends.
    void Print(std::string_view text);

    // The last drawing; the block stays on the screen.
    void Finish(BoardTime time);

private:
    void Note(std::string text);
    void PrintLine(BoardTime time, const std::string& text);
    void Draw(BoardTime time);
    std::string Erase() const;

    const BoardState& state;
    const Style style;
    const int columns;
    const Write write;
    std::vector<std::string> shownLeds;
    std::vector<bool> shownLines;
    std::deque<std::string> notes; // the last records and calls
    std::string unfinished;
    BoardTime drawnTime{};
    int drawnRows = 0;
    bool changed = true;
};

} // namespace VelrixBoard
