// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace VelrixBoard {

// What the emulated machine's kernel prints, searched for the words with which it says that it has ended.
class MachineConsole final {
public:
    // Of a line, what is looked at; nothing of interest is longer.
    static constexpr std::size_t LONGEST_LINE = 1024;
    // The end of all that was printed, for error messages.
    static constexpr std::size_t KEPT = 4096;

    // What comes first decides: a machine that has been switched off may well panic afterwards.
    enum class End { NONE, PANIC, POWER_DOWN, HALT };

    void Add(std::string_view text);

    // The machine comes up anew. What was printed is kept, for error messages.
    void Restart();

    End HowItEnded() const { return end; }

    // The first line of a panic, from "Kernel panic" on.
    const std::string& PanicLine() const { return panicLine; }

    const std::string& Tail() const { return tail; }

private:
    void EndLine();

    std::string line;
    std::string tail;
    std::string panicLine;
    End end = End::NONE;
};

} // namespace VelrixBoard
