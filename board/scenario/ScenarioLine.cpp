// SPDX-License-Identifier: Apache-2.0
#include "board/scenario/ScenarioLine.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <utility>

#include "board/scenario/Printable.h"

namespace VelrixBoard {

std::string JoinAlternatives(const std::vector<std::string>& names) {
    std::string list;
    for (std::size_t i = 0; i < names.size(); ++i)
        list += (i == 0 ? "" : i + 1 == names.size() ? " or " : ", ") + names[i];
    return list;
}

namespace {

// A word of a binary file can be the whole file.
std::string Beginning(const std::string& word) {
    constexpr std::size_t LONGEST = 60;
    return word.size() <= LONGEST ? word : word.substr(0, LONGEST) + "...";
}

} // namespace

ScenarioLine::ScenarioLine(std::shared_ptr<const std::string> ownFile, int ownNumber, std::string_view text)
    : file(std::move(ownFile)), number(ownNumber) {
    std::size_t i = 0;
    while (i < text.size() && text[i] != '#') {
        if (std::strchr(" \t\r", text[i])) {
            ++i;
            continue;
        }
        const std::size_t begin = i;
        if (text[i] == '"') {
            words.push_back({TakeQuoted(text, i), begin + 1, true});
        } else {
            while (i < text.size() && !std::strchr(" \t\r#", text[i]))
                ++i;
            words.push_back({std::string(text.substr(begin, i - begin)), begin + 1, false});
        }
        end = i;
    }
    if (!words.empty())
        whole = text.substr(words.front().column - 1, end - words.front().column + 1);
    Begin();
}

void ScenarioLine::Fail(std::size_t column, const std::string& problem) const {
    // A binary file must not write to the user's terminal.
    throw ScenarioError(*file + ":" + std::to_string(number) + ":" + std::to_string(column) + ": " +
                        Printable(problem));
}

void ScenarioLine::FailHere(const std::string& expected) const {
    if (AtEnd())
        Fail(end + 1, "expected " + expected + ", found the end of the line");
    Fail(words[next].column, "expected " + expected + ", found '" + Beginning(words[next].text) + "'");
}

bool ScenarioLine::Take(std::string_view word) {
    if (!Is(word))
        return false;
    Advance();
    return true;
}

bool ScenarioLine::May(std::string_view word) {
    if (Take(word))
        return true;
    possible.push_back("'" + std::string(word) + "'");
    return false;
}

void ScenarioLine::Need(std::string_view word) {
    if (!Take(word))
        FailHere("'" + std::string(word) + "'");
}

std::string ScenarioLine::Any(const std::string& expected) {
    if (AtEnd())
        FailHere(expected);
    return words[Advance()].text;
}

std::string ScenarioLine::OneOf(const std::vector<std::string>& allowed) {
    if (AtEnd() || std::find(allowed.begin(), allowed.end(), Peek()) == allowed.end())
        FailHere(JoinAlternatives(allowed));
    return words[Advance()].text;
}

int ScenarioLine::Number(int least, int most, const std::string& expected) {
    const std::string text = AtEnd() ? "" : Peek();
    int found = 0;
    const auto [rest, error] = std::from_chars(text.data(), text.data() + text.size(), found);
    if (error != std::errc() || rest != text.data() + text.size() || found < least || found > most)
        FailHere(expected + " from " + std::to_string(least) + " to " + std::to_string(most));
    Advance();
    return found;
}

ScenarioTime ScenarioLine::Time(ScenarioTime least) {
    const auto time = AtEnd() ? std::nullopt : ParseTime(Peek());
    if (!time)
        FailHere("a time such as 500ms or 2s");
    if (*time < least)
        FailHere("a time of at least " + TextOf(least));
    Advance();
    return *time;
}

int ScenarioLine::Signal() {
    const auto signal = AtEnd() ? std::nullopt : SignalNumber(Peek());
    if (!signal)
        FailHere("a signal such as TERM or KILL");
    Advance();
    return *signal;
}

void ScenarioLine::NeedEnd() const {
    std::vector<std::string> expected = possible;
    expected.emplace_back("the end of the line");
    if (!AtEnd())
        FailHere(JoinAlternatives(expected));
}

std::size_t ScenarioLine::Advance() {
    possible.clear();
    return next++;
}

std::string ScenarioLine::TakeQuoted(std::string_view text, std::size_t& i) const {
    const std::size_t begin = i + 1;
    std::string content;
    for (++i; i < text.size(); ++i) {
        if (text[i] == '"') {
            ++i;
            return content;
        }
        if (text[i] == '\\') {
            const std::size_t escape = i++;
            if (i == text.size())
                break;
            if (text[i] != '"' && text[i] != '\\')
                Fail(escape + 1,
                     "expected \\\" or \\\\ in quotes, found '" + std::string(text.substr(escape, 2)) + "'");
        }
        content += text[i];
    }
    Fail(begin, "the quotes that begin here do not end in this line");
}

} // namespace VelrixBoard
