// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "board/base/Clock.h"
#include "board/loop/ILoopPart.h"
#include "board/model/BoardState.h"
#include "board/model/Fault.h"
#include "board/model/InputDriver.h"
#include "board/model/ModuleState.h"

namespace VelrixBoard {

// Controls a running board. Call it on the board's loop thread, not in an observer. Observers receive the changes
// before a call returns.
class IBoardControl {
public:
    virtual ~IBoardControl() = default;

    // Throws BoardError for an output, which only the program drives. The module may drive its line again later.
    virtual void DriveInput(std::size_t signal, bool level, InputDriver driver) = 0;

    // Gives the module's line back to the module: sets the level that the module gives it, and ends the effect of
    // --set. Throws BoardError for another signal.
    virtual void ReleaseInput(std::size_t signal) = 0;

    // Who drove the input last.
    virtual InputDriver DriverOf(std::size_t signal) const = 0;

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

    // Ends the program and starts it again, with the lines and LEDs as at power-up. Throws BoardError if it does not
    // run, or ends already.
    virtual void RestartProgram() = 0;
};

// An external observer and control of a running board. Made just before the program starts, may start threads, and is
// destroyed before the board.
class IBoardAttachment : public BoardObserver, public ILoopPart {
public:
    // A message for the user when it is ready.
    virtual std::string Announcement() const = 0;

    // Whether the board is kept after the program's end. Asked then, and after each event.
    virtual bool Holds() const { return false; }

    // The board is kept: the program has ended for good, and its control has no effect any more.
    virtual void OnHeld(BoardTime) {}
};

// What a board gives an attachment. State and control outlive it; any thread may read the clock.
struct AttachedBoard {
    const BoardState& state;
    IBoardControl& control;
    Clock clock;
    std::filesystem::path changes; // every change of a level, a line each (board/records/Recorder.h)
};

// Throws BoardError, and then the program does not run.
using AttachmentFactory = std::function<std::unique_ptr<IBoardAttachment>(const AttachedBoard& board)>;

} // namespace VelrixBoard
