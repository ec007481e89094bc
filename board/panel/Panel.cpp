// SPDX-License-Identifier: Apache-2.0
#include "board/panel/Panel.h"

#include <chrono>
#include <cstring>

#include <nlohmann/json.hpp>
#include <sys/wait.h>

#include "board/model/Fault.h"
#include "board/panel/PanelCommand.h"

namespace VelrixBoard {

namespace {

using nlohmann::json;

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
    const std::size_t lines = state.Model().Lines().size();
    const auto& elements = state.Model().LedElements();
    for (std::size_t i = 0; i < elements.size(); ++i) {
        signals[lines + i]["led"] = elements[i].led;
        signals[lines + i]["color"] = ColorName(elements[i].color);
    }
    const auto run = std::chrono::system_clock::now().time_since_epoch().count();
    return Text({{"run", std::to_string(run)}, {"program", program}, {"signals", signals}});
}

// By ModuleState::Phase.
constexpr const char* STATE_NAMES[] = {"reset", "starting", "ready", "silent"};

} // namespace

Panel::Panel(const BoardState& boardState, IBoardControl& boardControl, Clock clock, const std::string& program,
             std::optional<int> port)
    : state(boardState), control(boardControl),
      feed(Describe(state, program), state.Levels(), [clock = std::move(clock)] { return FeedTime(clock()); }),
      server(
          feed,
          [this](const std::string& path, const std::string& body) {
              queue.Do(ReadPanelCommand(path, body, state, control));
              return std::string("{}");
          },
          port) {
    TellModule();
    TellFaults();
    TellProgram("waiting", "not started");
    feed.Publish();
}

// Waiting requests would delay the server's end, since the event loop has ended.
Panel::~Panel() {
    queue.Close();
}

void Panel::OnChange(std::size_t signal, bool level, BoardTime time) {
    feed.Change(signal, level, FeedTime(time));
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
    if (++runs == 1)
        return TellProgram("running", "running");
    const std::string run = "run " + std::to_string(runs);
    TellProgram("running", "running, " + run);
    feed.Record(PanelFeed::Log::WEB, "\nThe board came up again: " + run, FeedTime(time));
}

void Panel::OnProgramEnded(int waitStatus, BoardTime) {
    if (WIFSIGNALED(waitStatus))
        return TellProgram("failed", std::string("ended by ") + ::strsignal(WTERMSIG(waitStatus)));
    const int code = WEXITSTATUS(waitStatus);
    TellProgram(code == 0 ? "ended" : "failed", "ended with " + std::to_string(code));
}

void Panel::Run(BoardTime) {
    queue.Run();
    feed.Publish();
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

void Panel::TellProgram(const char* programState, const std::string& text) {
    feed.Status("program", Text({{"state", programState}, {"text", text}}));
}

} // namespace VelrixBoard
