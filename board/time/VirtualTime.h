// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>

#include "board/loop/EventLoop.h"
#include "board/time/ProgramThreads.h"
#include "board/time/TimeFile.h"
#include "board/time/TimeKeeper.h"
#include "board/time/TimeOptions.h"

namespace VelrixBoard {

// A board's own time: its file, its keeper, and the threads that it looks at.
class VirtualTime final {
public:
    // Throws BoardError where the machine does not allow it.
    VirtualTime(const TimeOptions& options, const std::filesystem::path& file, TimeKeeper::Say say);

    // A loop that goes by this time, which must outlive it.
    EventLoop MakeLoop();

    // Process 1 of the board, by the machine's number.
    void SetFirst(pid_t init);

    // In a process that is about to start a program, which has the library of board/preload: gives it this time, once
    // the board knows of the start.
    void Share() const;

    TimeKeeper& Keeper() { return keeper; }

private:
    const std::filesystem::path path;
    ProgramThreads threads;
    TimeFile file;
    TimeKeeper keeper;
};

} // namespace VelrixBoard
