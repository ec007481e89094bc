// SPDX-License-Identifier: Apache-2.0
#include "board/panel/PanelRecording.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <optional>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "board/base/BoardError.h"

namespace VelrixBoard {

namespace {

template <class Number>
std::optional<Number> ReadNumber(std::string_view digits) {
    Number number = 0;
    const auto [rest, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    return error == std::errc() && rest == digits.data() + digits.size() ? std::optional(number) : std::nullopt;
}

// "12.000345678"
std::optional<BoardTime> ReadTime(std::string_view words) {
    constexpr std::size_t DECIMALS = 9;
    const std::size_t point = words.find('.');
    if (point == std::string_view::npos || words.size() - point - 1 != DECIMALS)
        return std::nullopt;
    const auto seconds = ReadNumber<BoardTime::rep>(words.substr(0, point));
    const auto rest = ReadNumber<BoardTime::rep>(words.substr(point + 1));
    if (!seconds || !rest)
        return std::nullopt;
    return std::chrono::seconds(*seconds) + std::chrono::nanoseconds(*rest);
}

} // namespace

PanelRecording::PanelRecording(const std::filesystem::path& changes, const std::vector<Signal>& signals,
                               BoardTime beganAt, BoardTime endTime)
    : path(changes.string()), began(beganAt), end(endTime), file(::open(changes.c_str(), O_RDONLY | O_CLOEXEC)),
      header(VcdText::Header(signals)) {
    struct stat status {};
    if (!file || ::fstat(file.Get(), &status) != 0)
        ThrowSystemError("cannot read the run's changes from " + path);
    left = static_cast<std::size_t>(status.st_size);
    for (std::size_t i = 0; i < signals.size(); ++i)
        numbers.emplace(signals[i].name, i);
}

std::string PanelRecording::Next() {
    if (!header.empty())
        return std::exchange(header, "");
    std::string piece;
    std::array<char, PIECE> buffer;
    // A piece of lines that are no changes has no text, which would mean the end.
    while (piece.empty() && left > 0) {
        const ssize_t length = ::read(file.Get(), buffer.data(), std::min(left, buffer.size()));
        if (length < 0 && errno == EINTR)
            continue;
        if (length < 0)
            ThrowSystemError("cannot read the run's changes from " + path);
        left = length == 0 ? 0 : left - static_cast<std::size_t>(length);
        unfinished.append(buffer.data(), static_cast<std::size_t>(length));
        std::size_t begin = 0;
        for (std::size_t lineEnd = 0; (lineEnd = unfinished.find('\n', begin)) != std::string::npos;
             begin = lineEnd + 1)
            piece += ReadLine(std::string_view(unfinished).substr(begin, lineEnd - begin));
        unfinished.erase(0, begin);
    }
    if (piece.empty() && !std::exchange(isOver, true))
        return text.End(TimeOf(end));
    return piece;
}

// "12.000345678 OXBO_RL 1"; empty for anything else, which somebody has put into the file.
std::string PanelRecording::ReadLine(std::string_view line) {
    const std::size_t first = line.find(' ');
    const std::size_t second = line.rfind(' ');
    if (first == std::string_view::npos || second <= first)
        return "";
    const auto time = ReadTime(line.substr(0, first));
    const auto number = numbers.find(line.substr(first + 1, second - first - 1));
    const std::string_view level = line.substr(second + 1);
    if (!time || number == numbers.end() || (level != "0" && level != "1"))
        return "";
    return text.Change(number->second, level == "1", TimeOf(*time));
}

TimelineTime PanelRecording::TimeOf(BoardTime time) const {
    return std::chrono::duration_cast<TimelineTime>(time - began);
}

} // namespace VelrixBoard
