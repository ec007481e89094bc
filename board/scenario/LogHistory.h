// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <string>
#include <string_view>

namespace VelrixBoard {

// What was seen in one of a program's logs, as far as a scenario asks: which of its texts were in a record, and the
// last record. The other records are not kept, and each is searched once, however many there are.
class LogHistory final {
public:
    // A text that the scenario asks for, before the first record.
    void Expect(const std::string& text) { seen.emplace(text, false); }

    void Add(std::string_view record);

    // Whether a record contained the text, which must be an expected one.
    bool Has(const std::string& text) const { return seen.at(text); }

    bool IsEmpty() const { return isEmpty; }
    const std::string& LastRecord() const { return lastRecord; }

private:
    std::map<std::string, bool> seen;
    std::string lastRecord;
    bool isEmpty = true;
};

} // namespace VelrixBoard
