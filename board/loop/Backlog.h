// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>

namespace VelrixBoard {

// A bounded buffer of lines for a slow reader. When it is full, drops whole pieces until the reader has emptied it, and
// then adds a line with the number of dropped lines.
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

    // The reader has taken the first bytes.
    void Remove(std::size_t count) {
        text.erase(0, count);
        if (!text.empty() || leftOut == 0)
            return;
        text = "velrix-board: " + std::to_string(leftOut) + " lines are left out here, which nobody read in time\n";
        leftOut = 0;
    }

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
