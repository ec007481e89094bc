// SPDX-License-Identifier: Apache-2.0
#include "board/control/ReadyTime.h"

#include <string>

#include "board/base/BoardError.h"
#include "board/timeline/Timeline.h"

namespace VelrixBoard {

std::optional<std::chrono::milliseconds> ParseReadyTime(std::string_view text) {
    if (text == "never")
        return std::nullopt;
    auto time = ParseTime(text);
    if (!time) // no unit
        time = ParseTime(std::string(text) + "ms");
    if (!time || *time % std::chrono::milliseconds(1) != std::chrono::milliseconds(0))
        throw BoardError("\"" + std::string(text) +
                         "\" is no time for the module; give whole milliseconds, such as 40ms or 2s, or never");
    return std::chrono::duration_cast<std::chrono::milliseconds>(*time);
}

} // namespace VelrixBoard
