// SPDX-License-Identifier: Apache-2.0
#include "board/panel/Panel.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstring>
#include <memory>
#include <utility>

#include <nlohmann/json.hpp>
#include <sys/wait.h>

#include "board/model/Fault.h"
#include "board/panel/PanelPicture.h"
#include "board/panel/PanelRecording.h"

namespace VelrixBoard {

namespace {

using nlohmann::json;

constexpr int CONFLICT = 409;

PanelFeed::Time FeedTime(BoardTime time) {
    return std::chrono::duration_cast<PanelFeed::Time>(time);
}

std::string Text(const json& value) {
    return value.dump(-1, ' ', false, json::error_handler_t::replace);
}

// The description of the board for the page: signals by number. "run" distinguishes this board from a later one on the
// same port.
std::string Describe(const BoardState& state, const std::string& program) {
    json signals = json::array();
    for (std::size_t signal = 0; signal < state.Count(); ++signal)
        signals.push_back(
            {{"name", state.Name(signal)}, {"path", state.Path(signal)}, {"input", state.IsInput(signal)}});
    if (const auto irq = state.Find(BoardModel::OXBO_IRQ))
        signals[*irq]["module"] = true;
    const std::size_t lines = state.Model().Lines().size();
    const auto& elements = state.Model().LedElements();
    for (std::size_t i = 0; i < elements.size(); ++i) {
        signals[lines + i]["led"] = elements[i].led;
        signals[lines + i]["color"] = ColorName(elements[i].color);
    }
    const auto run = std::chrono::system_clock::now().time_since_epoch().count();
    return Text({{"run", std::to_string(run)},
                 {"program", program},
                 {"keptChanges", PanelFeed::KEPT_CHANGES},
                 {"signals", signals}});
}

std::vector<Signal> Signals(const BoardState& state) {
    std::vector<Signal> signals;
    for (std::size_t signal = 0; signal < state.Count(); ++signal)
        signals.push_back({state.Name(signal), state.Level(signal), {}});
    return signals;
}

// The last part of the path of a command line's first word.
std::string ShortName(const std::string& command) {
    const std::string word = command.substr(0, command.find(' '));
    return word.substr(word.rfind('/') + 1);
}

// By ModuleState::Phase.
constexpr const char* STATE_NAMES[] = {"reset", "starting", "ready", "silent"};

// By InputDriver.
constexpr const char* DRIVER_NAMES[] = {"start", "option", "module", "panel", "pipe", "scenario"};

} // namespace

Panel::Panel(const AttachedBoard& board, const PanelOptions& panelOptions)
    : state(board.state), control(board.control), clock(board.clock), changes(board.changes), options(panelOptions),
      signals(Signals(state)), target{state, control, [this](int signal) { SignalProgram(signal); },
                                      [this] { RestartProgram(); }, [this] { EndBoard(); }},
      feed(Describe(state, options.program), state.Levels(), [this] { return FeedTime(clock()); }),
      server(feed,
             {.post =
                  [this](const std::string& path, const std::string& body) {
                      Obey(path, body);
                      return std::string("{}");
                  },
              .picture = [this] { return Picture(); },
              .recording = [this] { return Recording(); }},
             options.port) {
    TellModule();
    TellFaults();
    TellInputs();
    TellProgram();
    feed.Publish();
}

// Waiting requests would delay the server's end, since the event loop has ended.
Panel::~Panel() {
    queue.Close();
}

void Panel::OnChange(std::size_t signal, bool level, BoardTime time) {
    if (firstChange == NONE)
        firstChange = time.count();
    feed.Change(signal, level, FeedTime(time));
}

void Panel::OnSettled(BoardTime) {
    TellInputs();
    feed.Publish();
}

void Panel::OnWebLog(std::string_view record, BoardTime time) {
    feed.Record(PanelFeed::Log::WEB, record, FeedTime(time));
}

// As a message of the board among the trace records.
void Panel::OnReboot(std::string_view call, BoardTime time) {
    feed.Record(PanelFeed::Log::SYSTEM, "<5>board: reboot called: " + std::string(call), FeedTime(time));
}

void Panel::OnSyslog(std::string_view record, BoardTime time) {
    feed.Record(PanelFeed::Log::SYSTEM, record, FeedTime(time));
}

// A line that cannot be a record of the program: the pages' web log starts a new run.
void Panel::OnProgramStarted(BoardTime time) {
    ended = NONE;
    program = {"running", "running"};
    if (++runs == 1) {
        began = firstChange == NONE ? time.count() : std::min(time.count(), firstChange.load());
    } else {
        const std::string run = "run " + std::to_string(runs);
        program.text += ", " + run;
        feed.Record(PanelFeed::Log::WEB, "\nThe board came up again: " + run, FeedTime(time));
    }
    TellProgram();
    feed.Publish(); // the board may have nothing to settle for a long time
}

void Panel::OnProgramEnded(int waitStatus, BoardTime time) {
    ended = time.count();
    if (WIFSIGNALED(waitStatus)) {
        const int signal = WTERMSIG(waitStatus);
        const char* name = ::sigabbrev_np(signal);
        program = {"failed", std::string("ended by ") + ::strsignal(signal), name ? name : std::to_string(signal)};
    } else {
        const int code = WEXITSTATUS(waitStatus);
        program = {code == 0 ? "ended" : "failed", "ended with " + std::to_string(code), std::to_string(code)};
    }
    TellProgram();
    feed.Publish();
}

void Panel::OnHeld(BoardTime) {
    isHeld = true;
    TellProgram();
    feed.Publish();
}

void Panel::Run(BoardTime) {
    queue.Run();
    feed.Publish();
}

// On the thread of the request.
void Panel::Obey(const std::string& path, const std::string& body) {
    queue.Do([this, isForBoard = path == "/board", work = ReadPanelCommand(path, body, target)] {
        if (isHeld && !isForBoard)
            throw PanelError(CONFLICT, "the program has ended; the board only shows what it was");
        work();
    });
}

void Panel::SignalProgram(int signal) {
    control.SignalProgram(signal);
    if (signal == SIGTERM || signal == SIGINT)
        TellThatItIsAsked();
}

void Panel::RestartProgram() {
    control.RestartProgram();
    TellThatItIsAsked();
}

// The pages offer to kill a program that ignores it.
void Panel::TellThatItIsAsked() {
    program.askedAt = clock();
    TellProgram();
}

void Panel::EndBoard() {
    if (!isHeld)
        throw PanelError(CONFLICT, "the board ends with its program; it is not kept");
    isToldToEnd = true;
}

void Panel::TellModule() {
    const ModuleState module = control.OxboState();
    json text = {{"state", STATE_NAMES[static_cast<std::size_t>(module.CurrentPhase())]},
                 {"ramLoader", nullptr},
                 {"readyAfterMs", nullptr}};
    if (module.ramLoaderAtRelease)
        text["ramLoader"] = *module.ramLoaderAtRelease;
    if (module.readyAfter)
        text["readyAfterMs"] = module.readyAfter->count();
    feed.Status("module", Text(text));
}

void Panel::TellFaults() {
    json faults = json::object();
    for (std::size_t signal = 0; signal < state.Count(); ++signal)
        if (const auto fault = control.FaultOf(signal))
            faults[state.Name(signal)] = ToString(*fault);
    feed.Status("faults", Text(faults));
}

// Who drives the inputs, if that has changed.
void Panel::TellInputs() {
    std::vector<InputDriver> current;
    for (std::size_t signal = 0; signal < state.Count(); ++signal)
        current.push_back(state.IsInput(signal) ? control.DriverOf(signal) : InputDriver::START);
    if (current == drivers)
        return;
    drivers = std::move(current);
    json inputs = json::object();
    for (std::size_t signal = 0; signal < state.Count(); ++signal)
        if (state.IsInput(signal))
            inputs[state.Name(signal)] = DRIVER_NAMES[static_cast<std::size_t>(drivers[signal])];
    feed.Status("inputs", Text(inputs));
}

void Panel::TellProgram() {
    json text = {
        {"state", program.state}, {"text", program.text}, {"end", program.end}, {"askedAt", nullptr}, {"held", isHeld}};
    if (program.askedAt)
        text["askedAt"] = FeedTime(*program.askedAt).count();
    feed.Status("program", Text(text));
}

// On a thread of the server. Without the program's arguments, since other sites may embed the picture.
std::string Panel::Picture() {
    const json status = json::parse(feed.StatusOf("program"), nullptr, false);
    return PanelPicture(state, feed.Levels(), ShortName(options.program),
                        status.is_object() ? status.value("text", "") : "");
}

// On a thread of the server.
std::function<std::string()> Panel::Recording() const {
    if (began == NONE)
        throw PanelError(CONFLICT, "the program has not started");
    const auto until = ended == NONE ? clock() : BoardTime(ended.load());
    const auto recording = std::make_shared<PanelRecording>(changes, signals, BoardTime(began.load()), until);
    return [recording] { return recording->Next(); };
}

} // namespace VelrixBoard
