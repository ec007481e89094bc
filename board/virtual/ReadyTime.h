// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <optional>
#include <string_view>

namespace VelrixBoard {

// Reads when the Oxbo module becomes ready: milliseconds, "40" or "40ms"; nothing for "never". Throws BoardError for
// all else.
std::optional<std::chrono::milliseconds> ParseReadyTime(std::string_view text);

} // namespace VelrixBoard
