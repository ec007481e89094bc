// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstddef>
#include <map>
#include <string>
#include <string_view>

namespace VelrixBoard {

// The texts of a scenario that occurred in one of a program's logs, and the last record. Searches each record once and
// keeps only the last.
class LogHistory final {
public:
    // Registers a text to look for, before the first record.
    void Expect(const std::string& text) {
        seen.emplace(text, false);
        longest = std::max(longest, text.size());
    }

    void Add(std::string_view record) {
        for (auto& [text, isSeen] : seen)
            isSeen = isSeen || record.find(text) != std::string_view::npos;
        lastRecord = record;
        isEmpty = false;
    }

    // A piece of a stream: a text may begin in one and end in the next. The last record is the last line that is not
    // empty, at most LONGEST_LINE bytes from its end.
    void AddPiece(std::string_view piece);

    // Whether a record contained the registered text.
    bool Has(const std::string& text) const { return seen.at(text); }

    bool IsEmpty() const { return isEmpty; }
    const std::string& LastRecord() const { return lastRecord; }

private:
    static constexpr std::size_t LONGEST_LINE = 200;

    std::map<std::string, bool> seen;
    std::size_t longest = LONGEST_LINE; // of the texts
    std::string lastRecord;
    bool isEmpty = true;
    std::string rest; // of a stream: what a text may have begun in
};

} // namespace VelrixBoard
