// SPDX-License-Identifier: Apache-2.0
// One file: both styles show the same state, and every row of the block is drawn at once.
#include "board/views/TerminalView.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "board/scenario/Printable.h"

namespace VelrixBoard {

namespace {

constexpr int MOST_NOTES = 6;
constexpr int BOARD_ROWS = 4;
// The row below the block, for the cursor.
constexpr int CURSOR_ROWS = 1;
// Flush size of lines: one system call for many.
constexpr std::size_t WRITTEN_AT_ONCE = std::size_t{16} * 1024;
constexpr int BAR_COLUMNS = 20;
constexpr const char* NORMAL = "\033[0m";

constexpr const char* BOLD = "\033[1m";
constexpr const char* FAINT = "\033[2m";
constexpr const char* RED = "\033[1;31m";
constexpr const char* GREEN = "\033[1;32m";
constexpr const char* YELLOW = "\033[1;33m";

const char* LedStyle(std::string_view color) {
    if (color == "green")
        return GREEN;
    if (color == "red")
        return RED;
    return color == "off" ? FAINT : YELLOW;
}

// By LogText::Weight.
constexpr const char* LOG_STYLES[] = {nullptr, FAINT, YELLOW, RED};

// By ModuleState::Phase.
constexpr const char* MODULE_TEXTS[] = {"held in reset", "starting", "ready", "never ready"};

std::string Bar(int percent) {
    std::string bar;
    for (int column = 0; column < BAR_COLUMNS; ++column)
        bar += column * 100 < percent * BAR_COLUMNS ? "\u2588" : "\u2591";
    return bar + " " + std::to_string(percent) + " %";
}

std::string Seconds(BoardTime time) {
    char text[32];
    std::snprintf(text, sizeof text, "%8.3f s  ", std::chrono::duration<double>(time).count());
    return text;
}

} // namespace

// Text for a row of the block; colour codes take no column. A row that is too long ends in an ellipsis. No trailing
// blanks: terminals differ in whether these count when rows are rewrapped.
class TerminalView::Row final {
public:
    Row(int mostColumns, bool withColors)
        : columns(static_cast<std::size_t>(std::max(mostColumns, 1))), isColored(withColors) {}

    Row& Add(std::string_view part, const char* color = nullptr) {
        for (const char c : Printable(part)) {
            // UTF-8 continuation bytes take no column.
            const bool begins = (static_cast<unsigned char>(c) & 0xC0) != 0x80;
            if (!begins && !isCut)
                cells.back().text += c;
            else if (begins && cells.size() < columns)
                cells.push_back({std::string(1, c == '\t' ? ' ' : c), isColored ? color : nullptr});
            else if (begins)
                isCut = true;
        }
        if (isCut)
            cells.back() = {"\u2026", nullptr};
        return *this;
    }

    std::string Text() const {
        std::string text;
        const char* color = nullptr;
        for (const Cell& cell : cells) {
            if (cell.color != color)
                text += std::string(color != nullptr ? NORMAL : "") + (cell.color != nullptr ? cell.color : "");
            color = cell.color;
            text += cell.text;
        }
        return text + (color != nullptr ? NORMAL : "");
    }

    // The columns that it takes.
    int Width() const { return static_cast<int>(cells.size()); }

private:
    struct Cell {
        std::string text;
        const char* color;
    };

    const std::size_t columns;
    const bool isColored;
    bool isCut = false;
    std::vector<Cell> cells;
};

TerminalView::TerminalView(const BoardState& boardState, const IBoardControl& boardControl, Style viewStyle,
                           Measure terminalSize, ITextOutput& textOutput)
    : state(boardState), control(boardControl), style(viewStyle), measure(std::move(terminalSize)), output(textOutput),
      lines(state.Model().Leds()) {
    for (const std::string& name : state.Model().Leds())
        leds.push_back({name, state.LedColor(name), state.LedColor(name)});
    for (std::size_t line = 0; line < state.Model().Lines().size(); ++line)
        shownLines.push_back(state.Level(line));
}

void TerminalView::OnChange(std::size_t signal, bool level, BoardTime time) {
    if (signal < shownLines.size())
        return PrintLine(time, state.Name(signal) + (level ? " high" : " low"));
    for (std::size_t i = 0; i < leds.size(); ++i)
        if (const std::string color = state.LedColor(leds[i].name); color != leds[i].color) {
            leds[i].color = color;
            leds[i].since = time;
            if (style == Style::LINES)
                lines.AddColor(i, signal, color, time);
        }
}

void TerminalView::OnSettled(BoardTime time) {
    if (style == Style::LINES) {
        lines.Settle(time);
        return WriteLines();
    }
    SettleBlock(time, SHORTEST_COLOR);
    if (output.IsWritten())
        DrawWhatIsNew(time);
}

void TerminalView::SettleBlock(BoardTime time, BoardTime shortest) {
    for (Led& led : leds)
        if (led.color != led.shown && time - led.since >= shortest) {
            led.shown = led.color;
            changed = true;
        }
    for (std::size_t i = 0; i < shownLines.size(); ++i)
        shownLines[i] = state.Level(i);
}

std::optional<BoardTime> TerminalView::Due() const {
    if (style == Style::LINES)
        return lines.Due();
    std::optional<BoardTime> due;
    for (const Led& led : leds)
        if (led.color != led.shown)
            due = std::min(due.value_or(BoardTime::max()), led.since + SHORTEST_COLOR);
    return due;
}

void TerminalView::WriteLines() {
    std::string text;
    for (std::string line = lines.Next(); !line.empty(); line = lines.Next()) {
        text += line;
        if (text.size() >= WRITTEN_AT_ONCE)
            output.Write(std::exchange(text, ""));
    }
    if (!text.empty())
        output.Write(text);
}

void TerminalView::OnWebLog(std::string_view record, BoardTime time) {
    Add("web log", ReadWebLogRecord(record));
    PrintLine(time, "web log " + std::string(record));
}

void TerminalView::OnReboot(std::string_view call, BoardTime time) {
    Add("reboot", {"called: " + std::string(call), LogText::Weight::WARNING});
    PrintLine(time, "reboot called: " + std::string(call));
}

void TerminalView::OnSyslog(std::string_view record, BoardTime time) {
    const LogText text = ReadSystemLogRecord(record);
    Add("trace", text);
    PrintLine(time, "trace " + text.text);
}

void TerminalView::OnFault(std::size_t signal, BoardTime time) {
    const std::optional<Fault> fault = control.FaultOf(signal);
    PrintLine(time, "fault " + state.Name(signal) + " " + (fault ? ToString(*fault) : "none"));
}

void TerminalView::OnProgramStarted(BoardTime time) {
    if (++runs == 1)
        return;
    const std::string text = "came up again: run " + std::to_string(runs);
    Add("board", {text, LogText::Weight::NORMAL});
    PrintLine(time, "board " + text);
}

// A progress bar is updated in place; a new row when the old one has scrolled out or is of another run.
void TerminalView::Add(const char* source, LogText record) {
    if (record.percent && !record.beginsBar) {
        const auto bar = std::find_if(notes.rbegin(), notes.rend(),
                                      [this](const Note& n) { return n.record.percent && n.run == runs; });
        if (bar != notes.rend()) {
            bar->record.percent = record.percent;
            return;
        }
    }
    if (record.text.empty() && !record.percent)
        return;
    notes.push_back({source, std::move(record), runs});
    if (notes.size() > MOST_NOTES)
        notes.pop_front();
}

void TerminalView::PrintLine(BoardTime time, const std::string& text) {
    changed = true;
    if (style == Style::LINES)
        lines.Add(text, time);
}

void TerminalView::OnResize(BoardTime time) {
    changed = true;
    OnSettled(time);
}

void TerminalView::Print(std::string_view text) {
    std::string all = std::exchange(held, "") + std::string(text);
    const std::size_t whole = OpenLine::WholeLength(all);
    held = all.substr(whole);
    all.resize(whole);
    if (!all.empty())
        PrintWhole(all);
}

// Moves the cursor to the end of the program's output; after a full row that is the block's first row.
void TerminalView::PrintWhole(const std::string& text) {
    std::string drawing = Erase();
    const int columns = measure().columns;
    if (openLine.IsOpen() && !openLine.IsRowFull(columns))
        drawing += "\033[A";
    if (openLine.IsOpen() && openLine.Column(columns) > 0)
        drawing += "\033[" + std::to_string(openLine.Column(columns)) + "C";
    openLine.Take(text, columns);
    DrawBelow(drawing + text + (openLine.IsOpen() ? "\n" : ""), drawnTime);
}

void TerminalView::Say(std::string_view text) {
    if (style == Style::LINES)
        return output.Write(text);
    said.Add(text);
    if (output.IsWritten())
        DrawWhatIsNew(drawnTime);
}

void TerminalView::DrawWhatIsNew(BoardTime time) {
    if (!said.IsEmpty()) {
        const std::string text = said.Text();
        said.Remove(text.size());
        openLine.End();
        DrawBelow(Erase() + text, time);
    } else if (changed) {
        DrawBelow(Erase(), time);
    }
}

void TerminalView::Finish(BoardTime time) {
    if (!held.empty())
        PrintWhole(std::exchange(held, ""));
    lines.Settle(time, BoardTime::zero());
    SettleBlock(time, BoardTime::zero());
    changed = true;
    OnSettled(time);
}

// Erases upwards from the row below the block. Most terminals rewrap rows when they get narrower. On one that truncates
// instead, this erases some of the program's output; otherwise parts of the block would stay.
std::string TerminalView::Erase() const {
    if (drawnWidths.empty())
        return "";
    const int columns = measure().columns;
    int rows = 0;
    for (const int width : drawnWidths)
        rows += std::max(1, (width + columns - 1) / columns);
    return "\033[" + std::to_string(rows) + "A\r\033[J";
}

TerminalView::Row TerminalView::LedRow(int columns, BoardTime time) const {
    Row row(columns, IsColored());
    row.Add(Seconds(time));
    if (!paceText.empty())
        row.Add(paceText + "   ", BOLD);
    for (const Led& led : leds)
        row.Add((&led == &leds.front() ? "" : "   ") + led.name + " ").Add("\u25CF " + led.shown, LedStyle(led.shown));
    return row;
}

TerminalView::Row TerminalView::LineRow(int columns, Direction direction) const {
    const std::vector<Line>& all = state.Model().Lines();
    Row row(columns, IsColored());
    row.Add(direction == Direction::OUTPUT ? "  outputs " : "  inputs  ");
    for (std::size_t i = 0; i < all.size(); ++i)
        if (all[i].direction == direction)
            row.Add("  " + all[i].label + " ").Add(shownLines[i] ? "high" : "low", BOLD);
    return row;
}

TerminalView::Row TerminalView::ModuleRow(int columns) const {
    Row row(columns, IsColored());
    row.Add("  module    ").Add(MODULE_TEXTS[static_cast<std::size_t>(control.OxboState().CurrentPhase())], BOLD);
    bool any = false;
    for (std::size_t signal = 0; signal < state.Count(); ++signal) {
        const std::optional<Fault> fault = control.FaultOf(signal);
        if (fault)
            row.Add(any ? "  " : "   faults  ").Add(state.Name(signal) + " " + ToString(*fault), RED);
        any = any || fault;
    }
    return row;
}

std::vector<TerminalView::Row> TerminalView::Rows(const Size& size, BoardTime time) const {
    std::vector<Row> rows = {LedRow(size.columns, time), LineRow(size.columns, Direction::OUTPUT),
                             LineRow(size.columns, Direction::INPUT), ModuleRow(size.columns)};
    const int room = std::max(0, size.rows - BOARD_ROWS - CURSOR_ROWS - (openLine.IsOpen() ? 1 : 0));
    const auto hidden = std::max<std::ptrdiff_t>(0, static_cast<std::ptrdiff_t>(notes.size()) - room);
    for (auto note = notes.begin() + hidden; note != notes.end(); ++note) {
        Row row(size.columns, IsColored());
        row.Add("  " + note->source + std::string(10 - note->source.size(), ' '));
        const LogText& record = note->record;
        row.Add(record.text, LOG_STYLES[static_cast<std::size_t>(record.weight)]);
        if (record.percent)
            row.Add((record.text.empty() ? "" : " ") + Bar(*record.percent));
        rows.push_back(row);
    }
    return rows;
}

// The text ends in the block's first row. One write, so that old and new block are never visible together.
void TerminalView::DrawBelow(const std::string& text, BoardTime time) {
    std::string drawing = text;
    drawnWidths.clear();
    if (pace)
        paceText = pace->TextAt(time);
    for (const Row& row : Rows(measure(), time)) {
        drawing += row.Text() + "\n";
        drawnWidths.push_back(row.Width());
    }
    output.Write(drawing);
    drawnTime = time;
    changed = false;
}

} // namespace VelrixBoard
