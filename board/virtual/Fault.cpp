// SPDX-License-Identifier: Apache-2.0
#include "board/virtual/Fault.h"

#include <charconv>
#include <optional>
#include <utility>

#include "board/virtual/BoardError.h"

namespace VelrixBoard {

namespace {

constexpr std::pair<std::string_view, Fault::Kind> NAMES[] = {
    {"EIO", Fault::Kind::IO_ERROR},
    {"ENOSPC", Fault::Kind::NO_SPACE},
    {"EACCES", Fault::Kind::NO_ACCESS},
    {"missing", Fault::Kind::MISSING},
};

constexpr std::string_view SLOW = "slow:";

// A program that waits longer than this is not slow, it hangs.
constexpr std::chrono::milliseconds LONGEST_DELAY = std::chrono::hours(1);

std::optional<std::chrono::milliseconds> ParseDelay(std::string_view text) {
    unsigned value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    const std::string_view unit(end, static_cast<std::size_t>(text.data() + text.size() - end));
    if (error != std::errc() || value == 0 || (unit != "s" && unit != "ms"))
        return std::nullopt;
    const std::chrono::milliseconds delay =
        unit == "s" ? std::chrono::seconds(value) : std::chrono::milliseconds(value);
    return delay <= LONGEST_DELAY ? std::optional(delay) : std::nullopt;
}

} // namespace

Fault ParseFault(std::string_view text) {
    for (const auto& [name, kind] : NAMES)
        if (text == name)
            return {kind};
    if (text.substr(0, SLOW.size()) == SLOW)
        if (const auto delay = ParseDelay(text.substr(SLOW.size())))
            return {Fault::Kind::SLOW, *delay};
    throw BoardError(
        "\"" + std::string(text) +
        "\" is no fault; there are EIO, ENOSPC, EACCES, missing, and slow:500ms or slow:2s, up to an hour");
}

std::string ToString(const Fault& fault) {
    for (const auto& [name, kind] : NAMES)
        if (fault.kind == kind)
            return std::string(name);
    const auto count = fault.delay.count();
    return std::string(SLOW) + (count % 1000 == 0 ? std::to_string(count / 1000) + "s" : std::to_string(count) + "ms");
}

} // namespace VelrixBoard
