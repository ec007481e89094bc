// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "board/base/Clock.h"
#include "board/loop/ILoopPart.h"
#include "board/model/BoardState.h"
#include "board/model/Fault.h"
#include "board/model/ModuleState.h"

namespace VelrixBoard {

// Controls a running board. Call it on the board's loop thread, not in an observer. Observers receive the changes
// before a call returns.
class IBoardControl {
public:
    virtual ~IBoardControl() = default;

    // Throws BoardError for an output, which only the program drives.
    virtual void DriveInput(std::size_t signal, bool level) = 0;

    // Injects a fault into the signal's value file, or removes it. Throws BoardError for a fault that the signal cannot
    // have, and changes nothing.
    virtual void SetFault(std::size_t signal, const std::optional<Fault>& fault) = 0;
    virtual std::optional<Fault> FaultOf(std::size_t signal) const = 0;

    // When the Oxbo module becomes ready after its reset, even if that is released already; nothing: never.
    virtual void SetOxboReadyAfter(std::optional<std::chrono::milliseconds> delay) = 0;
    virtual ModuleState OxboState() const = 0;

    // Whether a web log that is opened from now on finds its disk full. Throws BoardError where the board does not keep
    // that file.
    virtual void SetWebLogFull(bool isFull) = 0;

    // Sends the signal to the program if one runs.
    virtual void SignalProgram(int signal) = 0;

    // Throws BoardError where the program has the machine's time.
    virtual void ChangeWallClock(const WallClockChange& change) = 0;
};

// An external observer and control of a running board. Made just before the program starts, may start threads, and is
// destroyed before the board.
class IBoardAttachment : public BoardObserver, public ILoopPart {
public:
    // A message for the user when it is ready.
    virtual std::string Announcement() const = 0;
};

// Throws BoardError, and then the program does not run. State and control outlive the attachment; any thread may read
// the clock.
using AttachmentFactory =
    std::function<std::unique_ptr<IBoardAttachment>(const BoardState& state, IBoardControl& control, Clock clock)>;

} // namespace VelrixBoard
