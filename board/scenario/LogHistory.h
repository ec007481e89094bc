// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <string>
#include <string_view>

namespace VelrixBoard {

// The texts of a scenario that occurred in one of a program's logs, and the last record. Searches each record once and
// does not keep it.
class LogHistory final {
public:
    // Registers a text to look for, before the first record.
    void Expect(const std::string& text) { seen.emplace(text, false); }

    void Add(std::string_view record) {
        for (auto& [text, isSeen] : seen)
            isSeen = isSeen || record.find(text) != std::string_view::npos;
        lastRecord = record;
        isEmpty = false;
    }

    // Whether a record contained the registered text.
    bool Has(const std::string& text) const { return seen.at(text); }

    bool IsEmpty() const { return isEmpty; }
    const std::string& LastRecord() const { return lastRecord; }

private:
    std::map<std::string, bool> seen;
    std::string lastRecord;
    bool isEmpty = true;
};

} // namespace VelrixBoard
