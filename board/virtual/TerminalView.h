// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "board/virtual/BoardState.h"
#include "board/virtual/IBoardControl.h"
#include "board/virtual/ILoopPart.h"
#include "board/virtual/LogText.h"

namespace VelrixBoard {

// The board as text. On a terminal it is a block of a few lines, redrawn in place: the LEDs in colour, the module
// lines, the simulated module, the faults, the end of the two logs. Elsewhere it is one line per change: "0.512 s  MS
// green".
//
// It writes through the function it was given. On a terminal nobody else may write to that terminal; what the program
// prints goes through Print, which puts it above the block.
class TerminalView final : public BoardObserver, public ILoopPart {
public:
    // The elements of an LED are written one after the other; a colour that lasts for less than this is none.
    static constexpr BoardTime SHORTEST_COLOR = std::chrono::milliseconds(5);

    using Write = std::function<void(std::string_view text)>;

    enum class Style { BLOCK, LINES };

    struct Size {
        int columns;
        int rows;
    };
    // How large the terminal is now: no line of the block may wrap round, and the block has to fit.
    using Measure = std::function<Size()>;

    TerminalView(const BoardState& boardState, const IBoardControl& boardControl, Style viewStyle, Measure terminalSize,
                 Write writeText);

    void OnChange(std::size_t signal, bool level, BoardTime time) override;
    void OnSettled(BoardTime time) override;
    void OnWebLog(std::string_view record, BoardTime time) override;
    void OnReboot(std::string_view call, BoardTime time) override;
    void OnSyslog(std::string_view record, BoardTime time) override;
    void OnFault(std::size_t signal, BoardTime time) override;
    void OnModule(BoardTime time) override;
    void OnProgramStarted(BoardTime time) override;

    int Descriptor() const override { return -1; }
    // When a colour that is new now will have lasted long enough.
    std::optional<BoardTime> Due() const override;
    void Run(BoardTime) override {}

    // The terminal has another size now.
    void OnResize(BoardTime time);

    // The program's output. An unfinished line is kept until it is complete or the view ends.
    void Print(std::string_view text);

    // The last drawing; the block stays on the screen.
    void Finish(BoardTime time);

private:
    class Row;

    // A row below the board: what it is of, and the record.
    struct Note {
        std::string source;
        LogText record;
        int run;
    };

    // The colour that an LED has, and since when.
    struct LedColor {
        std::string color;
        BoardTime since{};
    };

    void SettleLeds(BoardTime time, BoardTime shortest);
    void WriteLines();
    void Add(const char* source, LogText record);
    void PrintLine(BoardTime time, const std::string& text);
    void Draw(BoardTime time);
    Row LedRow(int columns, BoardTime time) const;
    Row LineRow(int columns, Direction direction) const;
    Row ModuleRow(int columns) const;
    std::string Erase() const;

    const BoardState& state;
    const IBoardControl& control;
    const Style style;
    const Measure measure;
    const Write write;
    std::vector<LedColor> leds;
    std::vector<std::string> shownLeds;
    std::vector<bool> shownLines;
    int runs = 0;                                // of the program, which a reboot starts anew
    std::deque<Note> notes;                      // the last records and calls
    std::multimap<BoardTime, std::string> lines; // not written yet, as something older may still come in between
    std::string unfinished;
    BoardTime drawnTime{};
    std::vector<int> drawnWidths; // of the block's rows on the screen, in columns
    bool changed = true;
};

} // namespace VelrixBoard
