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

// All that a private board is made of but its program, made from the board's options: the device, what drives and
// watches it, and the way onto it.
class BoardParts final : public IBoardControl {
public:
    // What the parts have to do with the program.
    struct ProgramActions {
        std::function<void(int signal)> signal;
        std::function<void(std::string_view call)> reboot;
        std::function<void(bool restart)> rebootBySystemCall;
    };

    // The parts get their time from the loop. Throws BoardError, ScenarioError or TimelineError when the board cannot
    // be made.
    BoardParts(const BoardOptions& boardOptions, RunDirectory runDirectory, const EventLoop& loop,
               ProgramActions programActions);

    const BoardState& State() const { return state; }
    IBoardEntry& Entry() { return *entry; }
    const std::vector<Placement>& Placements() const { return placements; }
    UserOutput& User() { return user; }

    // Shows the board, if that is asked for; the program's output may go there then.
    void Show(Program& program);

    // Makes what is attached, which may start threads.
    void Attach();

    // In the order of their turns: what is attached must have been made.
    void AddTo(EventLoop& loop);

    // What the program recorded by other ways than value files.
    void TellRecords();

    // All that was waiting has been told.
    void Settle() { state.Tell(&BoardObserver::OnSettled, clock()); }

    // All lines and LEDs as they are when the board's power comes; outputs first, which the module answers to.
    void PowerUp();

    void RecordSystemCall(bool restart) const;

    // The rest of the web log and of the output, at the pace of who reads it, and until the user does not want more.
    void FinishOutput(const StreamWriter::Patience& patience);

    // What nobody needs any more. A script that writes into the control pipe later would wait for ever.
    void RemoveOwnFiles() const;

    // The run is over: ends the records. Gives the command's exit code where a scenario judges the run. Throws
    // TimelineError or BoardError when one could not be written to its end.
    std::optional<int> Finish();

private:
    void DriveInput(std::size_t signal, bool level) override;
    void SetFault(std::size_t signal, const std::optional<Fault>& fault) override { files.SetFault(signal, fault); }
    std::optional<Fault> FaultOf(std::size_t signal) const override { return files.FaultOf(signal); }
    void SetOxboReadyAfter(std::optional<std::chrono::milliseconds> delay) override {
        oxbo.SetReadyAfter(delay, clock());
    }
    ModuleState OxboState() const override { return oxbo.State(); }
    void SignalProgram(int signal) override { actions.signal(signal); }

    std::unique_ptr<IBoardEntry> MakeEntry();
    void MakeWatchers();
    void WatchLogs();
    void DriveForModule(std::size_t signal, bool level);
    void ReadOn(LogTail& log);

    // For whoever does something to the board on behalf of its user: what they do can be recorded.
    IBoardControl& Control() { return inputs ? static_cast<IBoardControl&>(*inputs) : *this; }

    const BoardOptions& options;
    const ProgramActions actions;
    const Clock clock;
    const RunDirectory directory;
    const BoardLayout layout;
    const BoardModel model;
    BoardState state;
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
    FunctionPart syslogPart;
    FunctionPart watcherPart;
    FunctionPart settlePart;
    std::vector<Placement> placements;

    // Last, since its members use all of the board until they go.
    std::vector<std::unique_ptr<IBoardAttachment>> attachments;
};

} // namespace VelrixBoard
