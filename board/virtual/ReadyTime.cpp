// SPDX-License-Identifier: Apache-2.0
#include "board/virtual/ReadyTime.h"

#include <charconv>

#include "board/virtual/BoardError.h"

namespace VelrixBoard {

std::optional<std::chrono::milliseconds> ParseReadyTime(std::string_view text) {
    if (text == "never")
        return std::nullopt;
    unsigned value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    const std::string_view unit(end, static_cast<std::size_t>(text.data() + text.size() - end));
    if (error != std::errc() || (!unit.empty() && unit != "ms"))
        throw BoardError("the time takes milliseconds or \"never\"");
    return std::chrono::milliseconds(value);
}

} // namespace VelrixBoard
