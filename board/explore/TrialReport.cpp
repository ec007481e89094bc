// SPDX-License-Identifier: Apache-2.0
#include "board/explore/TrialReport.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstddef>

#include "board/explore/Behaviour.h"

namespace VelrixBoard {

namespace {

constexpr std::string_view OF_BOARD = "velrix-board: ";
constexpr std::size_t LONGEST_WORDS = 200;

bool IsWord(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_';
}

// The last line of the report: "PATH: 3 steps passed, 1 failed, 0 not reached".
bool IsSum(const std::string& line, const std::string& scenario) {
    return line.find(scenario + ": ") != std::string::npos && line.ends_with(" not reached");
}

std::size_t CountOfFailed(std::string_view sum) {
    constexpr std::string_view BEFORE = " passed, ";
    const std::string_view number = sum.substr(std::min(sum.rfind(BEFORE), sum.size() - BEFORE.size()) + BEFORE.size());
    std::size_t count = 0;
    std::from_chars(number.data(), number.data() + number.size(), count);
    return count;
}

} // namespace

std::vector<std::string> LinesOf(const std::string& text) {
    std::vector<std::string> lines;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        lines.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return lines;
}

std::string WithoutTimes(std::string_view text) {
    std::string without;
    for (std::size_t i = 0; i < text.size();) {
        const std::size_t end = std::min(text.find_first_not_of("0123456789.", i), text.size());
        const bool begins = i == 0 || !IsWord(text[i - 1]);
        const std::string_view rest = text.substr(end);
        const std::size_t unit = rest.starts_with(" ms") ? 3 : rest.starts_with(" s") ? 2 : 0;
        const bool isTime =
            begins && end > i && text[i] != '.' && unit != 0 && (rest.size() == unit || !IsWord(rest[unit]));
        if (isTime)
            without += '#';
        else
            without += text.substr(i, std::max<std::size_t>(end - i, 1));
        i = std::max(end + (isTime ? unit : 0), i + 1);
    }
    return without;
}

TrialReport::TrialReport(const std::string& errors, const std::string& scenario) {
    const std::vector<std::string> lines = LinesOf(errors);
    std::size_t sum = lines.size();
    while (sum > 0 && !IsSum(lines[sum - 1], scenario))
        --sum;
    const std::size_t count = sum == 0 ? 0 : std::min(CountOfFailed(lines[sum - 1]), sum - 1);
    const std::size_t end = sum == 0 ? lines.size() : sum - 1 - count;
    for (std::size_t i = 0; i < end; ++i) {
        if (lines[i].starts_with(OF_BOARD))
            notes.push_back(lines[i].substr(OF_BOARD.size()));
        else if (!lines[i].empty())
            lastWords = lines[i].substr(0, LONGEST_WORDS);
    }
    if (count == 0)
        return;
    // "PATH:LINE: STEP: MESSAGE", maybe behind what the program printed without a line end.
    const std::string& line = lines[end];
    const std::size_t own = line.find(scenario + ":");
    const std::size_t step = line.find(": ", own == std::string::npos ? 0 : own);
    if (step == std::string::npos) {
        failed = line;
        return;
    }
    failed = line.substr(step + 2);
    if (own == std::string::npos) {
        const std::size_t slash = line.rfind('/', step);
        place = line.substr(slash == std::string::npos ? 0 : slash + 1, step - (slash + 1)) + ": ";
    }
}

std::string TrialReport::BoardsReason(int exitCode) const {
    return notes.empty() ? "the board ended with " + std::to_string(exitCode) : notes.back();
}

bool TrialReport::IsCrash() const {
    return failed.find("killed by") != std::string::npos && !lastWords.empty();
}

std::string TrialReport::Message(int exitCode) const {
    if (failed.empty())
        return exitCode == 1 ? "the scenario failed" : BoardsReason(exitCode);
    return place + failed + (IsCrash() ? " (" + lastWords + ")" : "");
}

std::string TrialReport::Failure(int exitCode) const {
    if (failed.empty())
        return exitCode == 1 ? "the scenario failed" : WithoutNumbers(BoardsReason(exitCode));
    return WithoutTimes(failed.substr(0, failed.find("; seen at "))) +
           (IsCrash() ? " (" + WithoutNumbers(lastWords) + ")" : "");
}

bool TrialReport::CouldNotRun() const {
    return failed.find("the program could not be run (exit code") != std::string::npos;
}

std::string TrialReport::ReasonNotToRun() const {
    return !lastWords.empty() ? lastWords : notes.empty() ? failed : notes.back();
}

} // namespace VelrixBoard
