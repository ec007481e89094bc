// SPDX-License-Identifier: Apache-2.0
#include "board/emulated/MachineConsole.h"

#include <algorithm>

namespace VelrixBoard {

namespace {

// kernel/panic.c, kernel/reboot.c
constexpr struct {
    std::string_view beginning;
    MachineConsole::End end;
} LAST_WORDS[] = {{"Kernel panic - not syncing", MachineConsole::End::PANIC},
                  {"reboot: Power down", MachineConsole::End::POWER_DOWN},
                  {"reboot: System halted", MachineConsole::End::HALT}};

// Without the kernel's time stamp, "[    4.231007] ".
std::string_view WithoutTime(std::string_view line) {
    const std::size_t close = line.find("] ");
    const bool hasTime = line.starts_with('[') && close != std::string_view::npos &&
                         line.substr(1, close - 1).find_first_not_of(" .0123456789") == std::string_view::npos;
    return hasTime ? line.substr(close + 2) : line;
}

} // namespace

void MachineConsole::Add(std::string_view text) {
    tail += text.substr(text.size() - std::min(text.size(), KEPT));
    tail.erase(0, tail.size() - std::min(tail.size(), KEPT));
    for (const char c : text)
        if (c == '\n')
            EndLine();
        else if (c != '\r' && line.size() < LONGEST_LINE)
            line += c;
}

void MachineConsole::Restart() {
    line.clear();
    panicLine.clear();
    end = End::NONE;
}

void MachineConsole::EndLine() {
    const std::string_view text = WithoutTime(line);
    for (const auto& words : LAST_WORDS)
        if (end == End::NONE && text.starts_with(words.beginning)) {
            end = words.end;
            if (end == End::PANIC)
                panicLine = text;
        }
    line.clear();
}

} // namespace VelrixBoard
