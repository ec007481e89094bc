// SPDX-License-Identifier: Apache-2.0
#include "board/emulated/AgentPort.h"

#include <charconv>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <random>

#include "board/base/BoardError.h"
#include "board/scenario/Printable.h"

namespace VelrixBoard {

namespace {

constexpr std::string_view READY = "ready ";
constexpr std::string_view EXIT = "exit ";
constexpr std::size_t WORD_DIGITS = 16;

// "exit WORD CODE".
struct Exit {
    std::string_view word;
    int code;
};
std::optional<Exit> ParseExit(std::string_view line) {
    if (!line.starts_with(EXIT) || line.size() <= EXIT.size() + WORD_DIGITS + 1)
        return std::nullopt;
    const std::string_view word = line.substr(EXIT.size(), WORD_DIGITS);
    const std::string_view number = line.substr(EXIT.size() + WORD_DIGITS + 1);
    std::uint8_t code = 0;
    const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), code);
    const bool fits = word.find_first_not_of("0123456789abcdef") == std::string_view::npos &&
                      line[EXIT.size() + WORD_DIGITS] == ' ' && error == std::errc() &&
                      end == number.data() + number.size();
    return fits ? std::optional(Exit{word, code}) : std::nullopt;
}

[[noreturn]] void Refuse(std::string_view line) {
    constexpr std::size_t SHOWN = 80;
    throw BoardError("something in the machine writes to the port by which programs are started there: \"" +
                     Printable(line.substr(0, SHOWN)) + "\"; so their end cannot be known (ttyS2 is the board's own)");
}

} // namespace

const std::string& AgentPort::NewWord() {
    std::random_device random;
    char text[WORD_DIGITS + 1];
    std::snprintf(text, sizeof text, "%08x%08x", static_cast<unsigned>(random()), static_cast<unsigned>(random()));
    return word = text;
}

std::vector<AgentPort::Message> AgentPort::Take(std::string_view text) {
    std::vector<Message> messages;
    unfinished += text;
    std::size_t begin = 0;
    for (std::size_t end = 0; (end = unfinished.find('\n', begin)) != std::string::npos; begin = end + 1)
        Read(std::string_view(unfinished).substr(begin, end - begin), messages);
    unfinished.erase(0, begin);
    if (unfinished.size() > LONGEST_LINE)
        Refuse(unfinished);
    return messages;
}

void AgentPort::Read(std::string_view line, std::vector<Message>& messages) const {
    using Kind = Message::Kind;
    if (line.starts_with(READY))
        messages.push_back({Kind::READY, std::string(line.substr(READY.size()))});
    else if (line == "failed")
        messages.push_back({Kind::FAILED});
    else if (line == "signalled")
        messages.push_back({Kind::SIGNALLED});
    else if (const auto exit = ParseExit(line); !exit)
        Refuse(line);
    else if (exit->word == word)
        messages.push_back({Kind::EXIT, "", exit->code});
}

} // namespace VelrixBoard
