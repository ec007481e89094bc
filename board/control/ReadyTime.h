// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <optional>
#include <string_view>

namespace VelrixBoard {

// Parses when the Oxbo module becomes ready: a time as in ParseTime, in whole milliseconds, the default unit ("2s",
// "40ms", "40"); nothing for "never". Throws BoardError for other texts.
std::optional<std::chrono::milliseconds> ParseReadyTime(std::string_view text);

} // namespace VelrixBoard
