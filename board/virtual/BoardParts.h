// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "board/base/BoardLayout.h"
#include "board/base/RunDirectory.h"
#include "board/control/ControlPipe.h"
#include "board/control/IBoardControl.h"
#include "board/control/InputRecorder.h"
#include "board/files/ValueFiles.h"
#include "board/loop/EventLoop.h"
#include "board/loop/FileWatcher.h"
#include "board/loop/FunctionPart.h"
#include "board/model/OxboModule.h"
#include "board/records/LogTail.h"
#include "board/records/Recorder.h"
#include "board/records/SyslogSocket.h"
#include "board/records/TimelineRecorder.h"
#include "board/sandbox/IBoardEntry.h"
#include "board/virtual/Board.h"
#include "board/virtual/UserOutput.h"

namespace VelrixBoard {

// The parts of a private board, except its program, made from the board's options.
class BoardParts final : public IBoardControl {
public:
    // The parts' actions on the program.
    struct ProgramActions {
        std::function<void(int signal)> signal;
        std::function<void()> restart;
        std::function<void(std::string_view call)> reboot;
        std::function<void(bool restart)> rebootBySystemCall;
        std::function<void(const WallClockChange& change)> changeWallClock;
        std::function<void()> useValueFile;
        std::function<bool()> hasOwnTime; // for the whole run so far
    };

    // Throws BoardError, ScenarioError or TimelineError when the board cannot be made.
    BoardParts(const BoardOptions& boardOptions, RunDirectory runDirectory, const EventLoop& loop,
               ProgramActions programActions);

    const BoardState& State() const { return state; }
    IBoardEntry& Entry() { return *entry; }
    const std::vector<Placement>& Placements() const { return placements; }
    UserOutput& User() { return user; }

    // Shows the board if the options say so; may redirect the program's output to the view.
    void Show(Program& program);

    // Makes the attachments, which may start threads.
    void Attach();

    // Adds the parts in the order of their turns, after Attach.
    void AddTo(EventLoop& loop);

    // Whether an attachment keeps the board after the program's end; and adds the attachments, which alone run then.
    bool IsHeld() const;
    void Hold(EventLoop& loop);

    // Reports what the program did other than by value files.
    void TellRecords();

    // Reports that all pending events were delivered.
    void Settle() { state.Tell(&BoardObserver::OnSettled, clock()); }

    // Resets all lines and LEDs; outputs first, since the module reacts to them.
    void PowerUp();

    void RecordSystemCall(bool restart) const;

    // Writes the rest of the web log and of the output at the reader's pace, until the user stops it.
    void FinishOutput(const StreamWriter::Patience& patience);

    // Removes temporary files; a later writer to the control pipe would block for ever.
    void RemoveOwnFiles() const;

    // Completes the records after the run. Returns the exit code if a scenario judges the run. Throws TimelineError or
    // BoardError when a record could not be completed.
    std::optional<int> Finish();

private:
    void DriveInput(std::size_t signal, bool level, InputDriver driver) override;
    void ReleaseInput(std::size_t signal) override;
    InputDriver DriverOf(std::size_t signal) const override { return drivers.at(signal); }
    void SetFault(std::size_t signal, const std::optional<Fault>& fault) override { files.SetFault(signal, fault); }
    std::optional<Fault> FaultOf(std::size_t signal) const override { return files.FaultOf(signal); }
    void SetOxboReadyAfter(std::optional<std::chrono::milliseconds> delay) override {
        oxbo.SetReadyAfter(delay, clock());
    }
    ModuleState OxboState() const override { return oxbo.State(); }
    void SetWebLogFull(bool isFull) override;
    void SignalProgram(int signal) override { actions.signal(signal); }
    void ChangeWallClock(const WallClockChange& change) override { actions.changeWallClock(change); }
    void RestartProgram() override { actions.restart(); }

    std::unique_ptr<IBoardEntry> MakeEntry();
    void MakeWatchers();
    void WatchLogs();
    void DriveForModule(std::size_t signal, bool level);
    void ResetDrivers();
    void ReadOn(LogTail& log);

    // The control for the user's actions, which may be recorded.
    IBoardControl& Control() { return inputs ? static_cast<IBoardControl&>(*inputs) : *this; }

    const BoardOptions& options;
    const ProgramActions actions;
    const Clock clock;
    const RunDirectory directory;
    const BoardLayout layout;
    const BoardModel model;
    BoardState state;
    bool modulesLineIsSet;            // by --set, which disconnects the module
    std::vector<InputDriver> drivers; // by signal
    FileWatcher watcher;
    UserOutput user;
    Recorder recorder;
    ValueFiles files;
    std::unique_ptr<IBoardEntry> entry;
    OxboModule oxbo;
    LogTail reboots;
    LogTail webLog;
    std::optional<SyslogSocket> syslog;
    std::optional<TimelineRecorder> timeline;
    std::optional<InputRecorder> inputs;
    std::optional<ControlPipe> control;
    std::optional<ScenarioPlayer> player;
    FunctionPart syslogPart{[this] { return syslog ? syslog->Descriptor() : -1; },
                            [this](BoardTime) { TellRecords(); }};
    FunctionPart watcherPart{[this] { return watcher.Descriptor(); }, [this](BoardTime) { TellRecords(); }};
    FunctionPart settlePart{[this](BoardTime) { Settle(); }};
    std::vector<Placement> placements;

    // Last, since the attachments use all other members.
    std::vector<std::unique_ptr<IBoardAttachment>> attachments;
};

} // namespace VelrixBoard
