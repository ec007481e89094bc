// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "board/timeline/VcdWriter.h"
#include "board/virtual/BoardState.h"

namespace VelrixBoard {

// Records every change of a board's signals in a VCD file. What cannot be written is told by Finish, since an observer
// must not throw.
class TimelineRecorder final : public BoardObserver {
public:
    // Throws TimelineError when the file cannot be made.
    TimelineRecorder(const std::string& path, const BoardState& state);

    void OnChange(std::size_t signal, bool level, BoardTime time) override;

    // Throws TimelineError when a change could not be written.
    void Finish(BoardTime time);

private:
    VcdWriter writer;
    std::string failure;
};

} // namespace VelrixBoard
