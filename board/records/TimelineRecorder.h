// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "board/model/BoardState.h"
#include "board/timeline/VcdWriter.h"

namespace VelrixBoard {

// Records every change of a board's signals in a VCD file, with times from the first start of the program. Finish
// reports failed writes, since an observer must not throw.
class TimelineRecorder final : public BoardObserver {
public:
    // Throws TimelineError when the file cannot be made.
    TimelineRecorder(const std::string& path, const BoardState& state);

    void OnChange(std::size_t signal, bool level, BoardTime time) override;
    void OnProgramStarted(BoardTime time) override;

    // Throws TimelineError when a change could not be written.
    void Finish(BoardTime time);

private:
    struct Event {
        std::size_t signal;
        bool level;
        BoardTime time;
    };

    void Write(const Event& event);

    VcdWriter writer;
    std::vector<Event> early; // events before the program's start
    std::optional<BoardTime> began;
    std::string failure;
};

} // namespace VelrixBoard
