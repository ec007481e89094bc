// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <optional>
#include <string_view>

namespace VelrixBoard {

// Reads when the Oxbo module becomes ready: a time as ParseTime takes it, in whole milliseconds, which are meant where
// there is no unit ("2s", "40ms", "40"); nothing for "never". Throws BoardError for all else.
std::optional<std::chrono::milliseconds> ParseReadyTime(std::string_view text);

} // namespace VelrixBoard
