// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "board/control/IBoardControl.h"
#include "board/loop/Backlog.h"
#include "board/loop/ILoopPart.h"
#include "board/loop/ITextOutput.h"
#include "board/model/BoardState.h"
#include "board/views/LogText.h"
#include "board/views/OpenLine.h"

namespace VelrixBoard {

// The board as text. On a terminal it is a block of a few lines, redrawn in place: the LEDs in colour, the module
// lines, the simulated module, the faults, the end of the two logs. Elsewhere it is one line per change: "0.512 s  MS
// green".
//
// On a terminal nobody else may write to that terminal; what the program prints goes through Print, which puts it above
// the block. A terminal that is not read gets no further picture until it has taken the last one, so that it shows the
// latest then and nothing piles up.
class TerminalView final : public BoardObserver, public ILoopPart {
public:
    // The elements of an LED are written one after the other; a colour that lasts for less than this is none.
    static constexpr BoardTime SHORTEST_COLOR = std::chrono::milliseconds(5);

    // What the board says to a terminal that is not read; more than it ever has to say to one that is.
    static constexpr std::size_t MOST_SAID = std::size_t{64} * 1024;

    enum class Style { BLOCK, LINES };

    struct Size {
        int columns;
        int rows;
    };
    // How large the terminal is now: no line of the block may wrap round, and the block has to fit.
    using Measure = std::function<Size()>;

    TerminalView(const BoardState& boardState, const IBoardControl& boardControl, Style viewStyle, Measure terminalSize,
                 ITextOutput& textOutput);

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

    // The program's output, as it is; a line may come in parts. Only while TakesOutput.
    void Print(std::string_view text);
    bool TakesOutput() const { return output.IsWritten() && said.IsEmpty(); }

    // Whole lines of the board's.
    void Say(std::string_view text);

    // The last drawing; the block stays on the screen. Comes when the output is written, or will not be.
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
    void PrintWhole(const std::string& text);
    void DrawBelow(const std::string& text, BoardTime time);
    void Draw(BoardTime time) { DrawBelow(Erase(), time); }
    void DrawWhatIsNew(BoardTime time);
    std::vector<Row> Rows(const Size& size, BoardTime time) const;
    Row LedRow(int columns, BoardTime time) const;
    Row LineRow(int columns, Direction direction) const;
    Row ModuleRow(int columns) const;
    std::string Erase() const;

    const BoardState& state;
    const IBoardControl& control;
    const Style style;
    const Measure measure;
    ITextOutput& output;
    std::vector<LedColor> leds;
    std::vector<std::string> shownLeds;
    std::vector<bool> shownLines;
    int runs = 0;                                // of the program, which a reboot starts anew
    std::deque<Note> notes;                      // the last records and calls
    std::multimap<BoardTime, std::string> lines; // not written yet, as something older may still come in between
    std::string held;                            // of the program's output, a part of a character or of a code
    OpenLine openLine;                           // of the program's output, above the block
    Backlog said{MOST_SAID};                     // not shown yet
    BoardTime drawnTime{};
    std::vector<int> drawnWidths; // of the block's rows on the screen, in columns
    bool changed = true;
};

} // namespace VelrixBoard
