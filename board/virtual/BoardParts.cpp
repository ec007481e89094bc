// SPDX-License-Identifier: Apache-2.0
#include "board/virtual/BoardParts.h"

#include <algorithm>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

#include "board/base/BoardError.h"
#include "board/base/Paths.h"
#include "board/model/SettingsReader.h"
#include "board/sandbox/NamespaceEntry.h"
#include "board/sandbox/PreloadEntry.h"
#include "board/sandbox/PreloadLibrary.h"
#include "board/virtual/BoardPlacements.h"

namespace VelrixBoard {

namespace fs = std::filesystem;

namespace {

const std::optional<fs::path>& CopySettings(const std::optional<fs::path>& from, const fs::path& to) {
    if (!from)
        return from;
    RequireContent(*from);
    std::error_code error;
    fs::copy_file(*from, to, error);
    if (error)
        throw BoardError("cannot read the settings file " + from->string() + ": " + error.message());
    fs::permissions(to, fs::perms(0644), error);
    return from;
}

} // namespace

BoardParts::BoardParts(const BoardOptions& boardOptions, RunDirectory runDirectory, const EventLoop& loop,
                       ProgramActions programActions)
    : options(boardOptions), actions(std::move(programActions)), clock([&loop] { return loop.Now(); }),
      directory(std::move(runDirectory)), layout(directory.Path()),
      model(MakeModel("velrix-board", CopySettings(options.settings, layout.Settings()), options.levels)), state(model),
      modulesLineIsSet(options.levels.contains(BoardModel::OXBO_IRQ)),
      recorder(layout, state, options.directory.has_value(), [this](const std::string& text) { user.Say(text); }),
      files(state, clock, options.without),
      oxbo(state, options.oxboReadyAfter, [this](std::size_t signal, bool level) { DriveForModule(signal, level); }),
      reboots(layout.Reboots(), actions.reboot),
      webLog(layout.Outside(model.WebLogFile()),
             [this](std::string_view record) { state.Tell(&BoardObserver::OnWebLog, record, clock()); }) {
    RequireKnownPaths(options, layout, state);
    files.OnRequest(actions.useValueFile);
    ResetDrivers();
    state.Add(recorder);
    state.Add(oxbo);
    fs::create_directory(layout.Stage());
    fs::create_directory(layout.Device());
    entry = MakeEntry();
    for (const auto& [name, fault] : options.faults)
        files.SetFault(FindSignal(state, name), fault);
    MakeWatchers();
    WatchLogs();
    placements = MakePlacements(options, layout, state, files.Tree());
}

std::unique_ptr<IBoardEntry> BoardParts::MakeEntry() {
    const auto before = [this] { TellRecords(); };
    if (options.isolation != Isolation::PRELOAD) {
        const NamespaceEntry::Trial trial =
            PreloadEntry::IsOnSuchABoard()
                ? NamespaceEntry::Trial{.reason = "this board is itself on one that has a preloaded library"}
                : NamespaceEntry::Try(layout);
        if (!trial.isAllowed && (options.isolation == Isolation::NAMESPACES || PreloadLibrary().empty()))
            throw BoardError(trial.reason);
        if (!trial.isAllowed)
            user.Say("runs the program by a preloaded library (--isolation preload), since the machine refuses the "
                     "stronger way: " +
                     std::string(trial.reason));
        else if (options.saysIsolation && options.isolation == Isolation::AUTO)
            user.Say("runs the program in namespaces (--isolation namespaces), the strongest way that there is");
        if (trial.isAllowed)
            return std::make_unique<NamespaceEntry>(files, layout, trial.canHaveOwnNumbers, options.asRoot, before);
    }
    if (PreloadLibrary().empty())
        throw BoardError("this velrix-board has no library to preload, as it was built for a 32-bit machine; use "
                         "--isolation namespaces");
    return std::make_unique<PreloadEntry>(state, files, layout, options.asRoot, before, actions.rebootBySystemCall);
}

// The user's observers and controls of the board.
void BoardParts::MakeWatchers() {
    if (options.timeline) {
        timeline.emplace(*options.timeline, state);
        state.Add(*timeline);
    }
    if (options.recording) {
        inputs.emplace(*options.recording, state, *this, clock);
        state.Add(*inputs);
    }
    // After the recorder, which records its commands.
    control.emplace(layout.Control(), state, Control(), [this](const std::string& text) { user.Say(text); });
    if (options.scenario.file) {
        ScenarioOptions scenario = options.scenario;
        scenario.hasOwnTime = actions.hasOwnTime;
        player.emplace(scenario, state, Control());
        state.Add(*player);
    }
}

void BoardParts::WatchLogs() {
    MakeFile(layout.Reboots());
    watcher.WatchFile(layout.Reboots(), [this] { ReadOn(reboots); });
    if (CanKeepWebLog(model)) {
        const fs::path outside = layout.Outside(fs::path(model.WebLogFile()).lexically_normal());
        fs::create_directories(outside.parent_path());
        watcher.WatchName(outside, [this] { ReadOn(webLog); });
    }
    if (options.syslog)
        syslog.emplace(layout.SyslogSocket(),
                       [this](std::string_view record) { state.Tell(&BoardObserver::OnSyslog, record, clock()); });
}

void BoardParts::Show(Program& program) {
    if (options.terminal)
        user.Show(state, *this, clock());
    else if (options.attachments.empty() && !options.scenario.file && !options.recording)
        user.Hint("add --terminal to see the board, or --panel to see it in a browser");
    user.PassOn(
        state, [this](ProgramStream stream) { return player && player->Hears(stream); }, program);
}

void BoardParts::Attach() {
    for (const AttachmentFactory& make : options.attachments) {
        attachments.push_back(make({state, Control(), clock, layout.Changes()}));
        state.Add(*attachments.back());
        user.Say(attachments.back()->Announcement());
    }
}

void BoardParts::AddTo(EventLoop& loop) {
    // Slow requests are answered after the program's newer ones.
    loop.Add(*entry);
    loop.Add(files);
    loop.Add(oxbo);
    loop.Add(*control);
    if (player)
        loop.Add(*player);
    for (ILoopPart* part : user.Parts())
        loop.Add(*part);
    for (const auto& attachment : attachments)
        loop.Add(*attachment);
    loop.Add(syslogPart);
    loop.Add(watcherPart);
    loop.Add(settlePart);
}

bool BoardParts::IsHeld() const {
    return std::ranges::any_of(attachments, [](const auto& attachment) { return attachment->Holds(); });
}

void BoardParts::Hold(EventLoop& loop) {
    for (const auto& attachment : attachments) {
        loop.Add(*attachment);
        attachment->OnHeld(clock());
    }
}

void BoardParts::TellRecords() {
    if (syslog)
        syslog->Dispatch();
    watcher.Dispatch();
}

// Long logs take several turns.
void BoardParts::ReadOn(LogTail& log) {
    if (log.Read())
        watcher.CallAgain();
}

// The driver first: observers of the change may ask for it.
void BoardParts::DriveInput(std::size_t signal, bool level, InputDriver driver) {
    if (!state.IsInput(signal))
        throw BoardError(state.Name(signal) + " is an output, which only the program drives");
    drivers[signal] = driver;
    files.DriveInput(signal, level);
}

// The kernel's own full device takes the place of the file, which is kept beside it.
void BoardParts::SetWebLogFull(bool isFull) {
    if (!CanKeepWebLog(model))
        throw BoardError("the board does not keep the web log " + model.WebLogFile() + " and cannot fill its disk");
    const fs::path outside = layout.Outside(fs::path(model.WebLogFile()).lexically_normal());
    const fs::path kept = outside.string() + ".before";
    std::error_code error;
    if (fs::is_symlink(fs::symlink_status(outside, error)) == isFull)
        return;
    if (isFull) {
        fs::create_directories(outside.parent_path());
        fs::rename(outside, kept, error);
        fs::create_symlink("/dev/full", outside);
    } else {
        fs::remove(outside);
        fs::rename(kept, outside, error);
    }
}

void BoardParts::ReleaseInput(std::size_t signal) {
    if (state.Name(signal) != BoardModel::OXBO_IRQ)
        throw BoardError("the module does not drive " + state.Name(signal) + ", only " + BoardModel::OXBO_IRQ);
    modulesLineIsSet = false;
    DriveForModule(signal, !oxbo.State().ready);
}

// The module does not drive lines that the user set.
void BoardParts::DriveForModule(std::size_t signal, bool level) {
    if (!modulesLineIsSet)
        DriveInput(signal, level, InputDriver::MODULE);
}

// As at power-up.
void BoardParts::ResetDrivers() {
    drivers.assign(state.Count(), InputDriver::START);
    for (const auto& [name, level] : options.levels)
        drivers[FindSignal(state, name)] = InputDriver::OPTION;
    if (!modulesLineIsSet)
        drivers[FindSignal(state, BoardModel::OXBO_IRQ)] = InputDriver::MODULE;
}

void BoardParts::PowerUp() {
    const BoardState initial(model);
    for (std::size_t signal = 0; signal < state.Count(); ++signal)
        if (!state.IsInput(signal))
            state.Set(signal, initial.Level(signal), clock());
    oxbo.PowerUp(clock());
    ResetDrivers();
    for (std::size_t signal = 0; signal < state.Count(); ++signal)
        if (state.IsInput(signal))
            files.DriveInput(signal, initial.Level(signal));
}

void BoardParts::RecordSystemCall(bool restart) const {
    const std::string_view text = restart ? "reboot(2) restart\n" : "reboot(2) halt\n";
    const FileDescriptor file(::open(layout.Reboots().c_str(), O_WRONLY | O_APPEND | O_CLOEXEC));
    (void)!::write(file.Get(), text.data(), text.size());
}

void BoardParts::FinishOutput(const StreamWriter::Patience& patience) {
    const auto goesOn = [&] {
        Settle();
        return user.AwaitReader(patience) && !patience.isStopped();
    };
    if (!webLog.Finish(goesOn))
        user.Say(patience.isStopped()
                     ? "the end of the web log was not read, since the board was asked to end; it is in the file"
                     : "the end of the web log is too long to be read; the file has the rest");
    Settle();
    user.Finish(clock, patience);
}

void BoardParts::RemoveOwnFiles() const {
    std::error_code error;
    fs::remove(layout.Stage(), error);
    RemoveTree(layout.Device());
    fs::remove(layout.NameList(), error);
    fs::remove(layout.Clock(), error);
    fs::remove(layout.PreloadLibrary(), error);
    fs::remove(layout.Control(), error);
    fs::remove(layout.SyslogSocket(), error);
}

std::optional<int> BoardParts::Finish() {
    if (timeline)
        timeline->Finish(clock());
    if (inputs)
        inputs->Finish();
    return player ? std::optional(player->Finish(clock())) : std::nullopt;
}

} // namespace VelrixBoard
