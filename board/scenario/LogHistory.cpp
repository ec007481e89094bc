// SPDX-License-Identifier: Apache-2.0
#include "board/scenario/LogHistory.h"

namespace VelrixBoard {

void LogHistory::AddPiece(std::string_view piece) {
    rest += piece;
    for (auto& [text, isSeen] : seen)
        isSeen = isSeen || rest.find(text) != std::string::npos;
    std::string_view line = rest;
    while (line.ends_with('\n'))
        line.remove_suffix(1);
    line.remove_prefix(line.rfind('\n') + 1); // 0 where there is none
    lastRecord = line.substr(line.size() - std::min(line.size(), LONGEST_LINE));
    isEmpty = isEmpty && lastRecord.empty();
    rest.erase(0, rest.size() - std::min(rest.size(), longest));
}

} // namespace VelrixBoard
