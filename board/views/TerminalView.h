// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "board/control/IBoardControl.h"
#include "board/loop/Backlog.h"
#include "board/loop/ILoopPart.h"
#include "board/loop/ITextOutput.h"
#include "board/model/BoardState.h"
#include "board/views/ChangeLines.h"
#include "board/views/LogText.h"
#include "board/views/OpenLine.h"
#include "board/views/Pace.h"

namespace VelrixBoard {

// The board as text. On a terminal it is a block of a few lines, redrawn in place: the LEDs in colour, the module
// lines, the simulated module, the faults, the end of the two logs. Elsewhere it is ChangeLines: every change, in its
// order.
//
// The view must be the only writer to the terminal; Print puts the program's output above the block. A terminal that is
// not read gets no new picture until it has taken the last one: then it shows the latest, and no backlog grows.
class TerminalView final : public BoardObserver, public ILoopPart {
public:
    // Glitch filter of the block: the elements of an LED are written one after the other; shorter colours are ignored.
    static constexpr BoardTime SHORTEST_COLOR = ChangeLines::SHORTEST_COLOR;

    // Buffer limit for messages to a terminal that is not read.
    static constexpr std::size_t MOST_SAID = std::size_t{64} * 1024;

    enum class Style { BLOCK, PLAIN_BLOCK, LINES }; // PLAIN: without colours

    struct Size {
        int columns;
        int rows;
    };
    // The terminal's size: no line of the block may wrap, and the block must fit.
    using Measure = std::function<Size()>;

    TerminalView(const BoardState& boardState, const IBoardControl& boardControl, Style viewStyle, Measure terminalSize,
                 ITextOutput& textOutput);

    // Lets the block say how fast the board's time passes, where that is not as fast as this clock's.
    void ShowPace(Clock machineClock) { pace.emplace(std::move(machineClock)); }

    void OnChange(std::size_t signal, bool level, BoardTime time) override;
    void OnSettled(BoardTime time) override;
    void OnWebLog(std::string_view record, BoardTime time) override;
    void OnReboot(std::string_view call, BoardTime time) override;
    void OnSyslog(std::string_view record, BoardTime time) override;
    void OnFault(std::size_t signal, BoardTime time) override;
    void OnModule(BoardTime) override { changed = true; } // not listed: the lines that the module drives are
    void OnProgramStarted(BoardTime time) override;

    // When the newest colour passes the glitch filter.
    std::optional<BoardTime> Due() const override;
    void Run(BoardTime) override {}

    // The terminal was resized.
    void OnResize(BoardTime time);

    // The program's output, unchanged; lines may be incomplete. Only while TakesOutput.
    void Print(std::string_view text);
    bool TakesOutput() const { return output.IsWritten() && said.IsEmpty(); }

    // Complete lines of the board.
    void Say(std::string_view text);

    // The last drawing; the block stays on the screen. Call it after the output is written or discarded.
    void Finish(BoardTime time);

private:
    class Row;

    // A row below the board: its source and the record.
    struct Note {
        std::string source;
        LogText record;
        int run;
    };

    struct Led {
        std::string name;
        std::string shown; // the last colour that was no glitch
        std::string color; // the colour that it has
        BoardTime since{};
    };

    void SettleBlock(BoardTime time, BoardTime shortest);
    void WriteLines();
    void Add(const char* source, LogText record);
    void PrintLine(BoardTime time, const std::string& text);
    void PrintWhole(const std::string& text);
    void DrawBelow(const std::string& text, BoardTime time);
    void DrawWhatIsNew(BoardTime time);
    std::vector<Row> Rows(const Size& size, BoardTime time) const;
    Row LedRow(int columns, BoardTime time) const;
    Row LineRow(int columns, Direction direction) const;
    Row ModuleRow(int columns) const;
    std::string Erase() const;
    bool IsColored() const { return style == Style::BLOCK; }

    const BoardState& state;
    const IBoardControl& control;
    const Style style;
    const Measure measure;
    ITextOutput& output;
    std::vector<Led> leds;
    std::vector<bool> shownLines;
    int runs = 0;           // of the program; a reboot restarts it
    std::deque<Note> notes; // the last records and calls
    ChangeLines lines;
    std::string held;        // of the program's output: an incomplete character or escape sequence
    OpenLine openLine;       // of the program's output, above the block
    Backlog said{MOST_SAID}; // pending
    BoardTime drawnTime{};
    std::vector<int> drawnWidths; // of the block's rows on the screen, in columns
    bool changed = true;
    std::optional<Pace> pace;
    std::string paceText;
};

} // namespace VelrixBoard
