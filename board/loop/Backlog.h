// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>

namespace VelrixBoard {

// Lines that wait until their reader takes them, up to a size. A piece of some that finds no room is left out as a
// whole, with all that follow until the rest has been taken; then a line says how many these were.
class Backlog final {
public:
    explicit Backlog(std::size_t mostBytes) : most(mostBytes) {}

    void Add(std::string_view piece) {
        if (leftOut > 0 || piece.size() > most - text.size())
            leftOut += static_cast<std::size_t>(std::count(piece.begin(), piece.end(), '\n'));
        else
            text += piece;
    }

    bool IsEmpty() const { return text.empty(); }
    const std::string& Text() const { return text; }

    // The first bytes have been taken.
    void Remove(std::size_t count) {
        text.erase(0, count);
        if (!text.empty() || leftOut == 0)
            return;
        text = "velrix-board: " + std::to_string(leftOut) + " lines are left out here, which nobody read in time\n";
        leftOut = 0;
    }

    // All that waits is of no use any longer.
    void Clear() {
        text.clear();
        leftOut = 0;
    }

private:
    const std::size_t most;
    std::string text{};
    std::size_t leftOut = 0;
};

} // namespace VelrixBoard
