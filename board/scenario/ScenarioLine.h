// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "board/scenario/Scenario.h"

namespace VelrixBoard {

// "a, b or c".
std::string JoinAlternatives(const std::vector<std::string>& names);

// One line of a scenario, as words that are taken one after the other. Each failure is a ScenarioError with file, line
// and column, what was expected and what was found.
class ScenarioLine final {
public:
    // Throws ScenarioError for quotes that do not end in the line.
    ScenarioLine(std::shared_ptr<const std::string> file, int number, std::string_view text);

    bool Empty() const { return words.empty(); }
    const std::string& Text() const { return whole; } // without indentation and comment
    const std::string& File() const { return *file; }
    int Number() const { return number; }
    std::size_t Column() const { return words.front().column; }

    [[noreturn]] void Fail(std::size_t column, const std::string& problem) const;
    [[noreturn]] void FailHere(const std::string& expected) const;

    // The step's action or condition begins at the next word.
    void Begin() { subject = AtEnd() ? end + 1 : words[next].column; }
    std::size_t Subject() const { return subject; }
    void SetSubject(std::size_t column) { subject = column; }

    bool AtEnd() const { return next == words.size(); }
    bool Is(std::string_view word) const { return !AtEnd() && !words[next].quoted && words[next].text == word; }
    const std::string& Peek() const { return words[next].text; }
    bool Take(std::string_view word);
    // Consumes the word if it is next, and records it as an alternative for error messages.
    bool May(std::string_view word);
    void Need(std::string_view word);
    std::string Any(const std::string& expected);
    std::string OneOf(const std::vector<std::string>& allowed);
    int Number(int least, int most, const std::string& expected);
    ScenarioTime Time(ScenarioTime least = ScenarioTime(0));
    bool High() { return OneOf({"high", "low"}) == "high"; }
    int Signal();
    void NeedEnd() const;

private:
    struct Word {
        std::string text;
        std::size_t column; // from 1
        bool quoted;
    };

    std::size_t Advance();
    // The quoted text at i; moves i past it.
    std::string TakeQuoted(std::string_view text, std::size_t& i) const;

    std::shared_ptr<const std::string> file;
    int number;
    std::vector<Word> words;
    std::size_t next = 0;
    std::size_t end = 0;
    std::size_t subject = 1;
    std::string whole;
    std::vector<std::string> possible; // alternatives at next
};

} // namespace VelrixBoard
