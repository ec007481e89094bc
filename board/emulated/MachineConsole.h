// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace VelrixBoard {

// Searches the console output of the emulated machine's kernel for its end.
class MachineConsole final {
public:
    // Longer lines are truncated.
    static constexpr std::size_t LONGEST_LINE = 1024;
    // The size of Tail.
    static constexpr std::size_t KEPT = 4096;

    // The first end counts: a machine may panic after it was switched off.
    enum class End { NONE, PANIC, POWER_DOWN, HALT };

    void Add(std::string_view text);

    // The machine restarted. Keeps the tail.
    void Restart();

    End HowItEnded() const { return end; }

    // The first line of a panic, from "Kernel panic" on.
    const std::string& PanicLine() const { return panicLine; }

    // The end of the output, for error messages.
    const std::string& Tail() const { return tail; }

private:
    void EndLine();

    std::string line;
    std::string tail;
    std::string panicLine;
    End end = End::NONE;
};

} // namespace VelrixBoard
