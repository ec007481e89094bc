// SPDX-License-Identifier: Apache-2.0
#include "board/virtual/TerminalView.h"

#include <algorithm>
#include <cstdio>

namespace VelrixBoard {

namespace {

constexpr std::size_t NOTE_ROWS = 4;
constexpr const char* NORMAL = "\033[0m";

// Text for a row of the block, whose colour codes take no column.
class Row final {
public:
    explicit Row(int columns) : left(columns) {}

    Row& Add(std::string_view part, const char* color = nullptr) {
        if (left <= 0)
            return *this;
        if (color != nullptr)
            text += color;
        for (const char c : part) {
            // The later bytes of a character in UTF-8 stand in the column of its first.
            const bool begins = (static_cast<unsigned char>(c) & 0xC0) != 0x80;
            if (begins)
                --left;
            if (left >= 0)
                text += static_cast<unsigned char>(c) < 0x20 ? ' ' : c;
        }
        if (color != nullptr)
            text += NORMAL;
        return *this;
    }

    std::string Text() const { return text; }

private:
    std::string text;
    int left;
};

const char* TerminalColor(std::string_view color) {
    if (color == "green")
        return "\033[1;32m";
    if (color == "red")
        return "\033[1;31m";
    return color == "off" ? "\033[2m" : "\033[1;33m";
}

std::string Seconds(BoardTime time) {
    char text[32];
    std::snprintf(text, sizeof text, "%8.3f s  ", std::chrono::duration<double>(time).count());
    return text;
}

} // namespace

TerminalView::TerminalView(const BoardState& boardState, Style viewStyle, int terminalColumns, Write writeText)
    : state(boardState), style(viewStyle), columns(terminalColumns), write(std::move(writeText)) {
    for (const std::string& led : state.Model().Leds())
        shownLeds.push_back(state.LedColor(led));
    for (std::size_t line = 0; line < state.Model().Lines().size(); ++line)
        shownLines.push_back(state.Level(line));
}

void TerminalView::OnSettled(BoardTime time) {
    const std::vector<std::string> leds = state.Model().Leds();
    for (std::size_t i = 0; i < leds.size(); ++i) {
        const std::string color = state.LedColor(leds[i]);
        if (color == shownLeds[i])
            continue;
        shownLeds[i] = color;
        PrintLine(time, leds[i] + " " + color);
    }
    for (std::size_t i = 0; i < shownLines.size(); ++i) {
        if (state.Level(i) == shownLines[i])
            continue;
        shownLines[i] = state.Level(i);
        PrintLine(time, state.Name(i) + (shownLines[i] ? " high" : " low"));
    }
    if (style == Style::BLOCK && changed)
        Draw(time);
}

void TerminalView::OnWebLog(std::string_view record, BoardTime time) {
    Note("web log   " + std::string(record));
    PrintLine(time, "web log " + std::string(record));
}

void TerminalView::OnReboot(std::string_view call, BoardTime time) {
    Note("reboot called: " + std::string(call));
    PrintLine(time, "reboot called: " + std::string(call));
}

void TerminalView::Note(std::string text) {
    notes.push_back(std::move(text));
    if (notes.size() > NOTE_ROWS)
        notes.pop_front();
}

void TerminalView::PrintLine(BoardTime time, const std::string& text) {
    changed = true;
    if (style == Style::LINES)
        write(Seconds(time) + text + "\n");
}

void TerminalView::Print(std::string_view text) {
    unfinished += text;
    const std::size_t end = unfinished.rfind('\n');
    if (end == std::string::npos)
        return;
    write(Erase() + unfinished.substr(0, end + 1));
    unfinished.erase(0, end + 1);
    drawnRows = 0;
    Draw(drawnTime);
}

void TerminalView::Finish(BoardTime time) {
    if (!unfinished.empty())
        Print("\n");
    OnSettled(time);
    if (style == Style::BLOCK)
        Draw(time);
}

std::string TerminalView::Erase() const {
    return drawnRows == 0 ? "" : "\033[" + std::to_string(drawnRows) + "A\r\033[J";
}

void TerminalView::Draw(BoardTime time) {
    const std::vector<Line>& lines = state.Model().Lines();
    std::vector<std::string> rows;

    Row leds(columns);
    leds.Add(Seconds(time));
    const std::vector<std::string> names = state.Model().Leds();
    for (std::size_t i = 0; i < names.size(); ++i)
        leds.Add(names[i] + " ").Add("\u25CF " + shownLeds[i], TerminalColor(shownLeds[i])).Add("   ");
    rows.push_back(leds.Text());

    for (const Direction direction : {Direction::OUTPUT, Direction::INPUT}) {
        Row row(columns);
        row.Add(direction == Direction::OUTPUT ? "  outputs   " : "  inputs    ");
        for (std::size_t i = 0; i < lines.size(); ++i)
            if (lines[i].direction == direction)
                row.Add(lines[i].label + " ").Add(shownLines[i] ? "1" : "0", "\033[1m").Add("  ");
        rows.push_back(row.Text());
    }
    for (const std::string& note : notes)
        rows.push_back(Row(columns).Add("  " + note).Text());

    std::string text = Erase();
    for (const std::string& row : rows)
        text += row + "\n";
    write(text);
    drawnRows = static_cast<int>(rows.size());
    drawnTime = time;
    changed = false;
}

} // namespace VelrixBoard
