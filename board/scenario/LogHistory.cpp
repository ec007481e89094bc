// SPDX-License-Identifier: Apache-2.0
#include "board/scenario/LogHistory.h"

namespace VelrixBoard {

void LogHistory::Add(std::string_view record) {
    for (auto& [text, isSeen] : seen)
        isSeen = isSeen || record.find(text) != std::string_view::npos;
    lastRecord = record;
    isEmpty = false;
}

} // namespace VelrixBoard
