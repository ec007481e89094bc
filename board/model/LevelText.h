// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string_view>

namespace VelrixBoard {

// A level as users write it: "low" or "high", as in scenarios, or "0" or "1", as in value files.
inline std::optional<bool> ParseLevel(std::string_view text) {
    if (text == "high" || text == "1")
        return true;
    return text == "low" || text == "0" ? std::optional(false) : std::nullopt;
}

} // namespace VelrixBoard
