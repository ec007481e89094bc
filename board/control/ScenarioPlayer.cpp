// SPDX-License-Identifier: Apache-2.0
#include "board/control/ScenarioPlayer.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <ctime>

#include <sys/wait.h>

#include "board/base/BoardError.h"
#include "board/scenario/JUnit.h"
#include "board/scenario/ScenarioParser.h"

namespace VelrixBoard {

ScenarioNames NamesOf(const BoardModel& model) {
    ScenarioNames names;
    for (const std::string& led : model.Leds())
        names.leds.push_back({led, {}});
    for (const LedElement& element : model.LedElements())
        for (ScenarioNames::Led& led : names.leds)
            if (led.name == element.led)
                led.colors.emplace_back(ColorName(element.color));
    for (const Line& line : model.Lines())
        (line.direction == Direction::INPUT ? names.inputs : names.outputs).push_back(line.label);
    return names;
}

namespace {

// Before the program has run: a report that cannot be written is an error at once.
std::ofstream OpenReport(const std::optional<std::string>& path) {
    std::ofstream report;
    if (path)
        report.open(*path);
    if (path && !report)
        throw BoardError("cannot write the report " + *path + ": " + std::strerror(errno));
    return report;
}

} // namespace

ScenarioPlayer::ScenarioPlayer(const ScenarioOptions& options, const BoardState& boardState,
                               IBoardControl& boardControl)
    : state(boardState), control(boardControl), hasOwnTime(options.hasOwnTime), reportFile(options.junit.value_or("")),
      suite(options.name.value_or(SuiteName(options.file.value_or("")))), report(OpenReport(options.junit)),
      names(NamesOf(boardState.Model())), scenario(Read(options.file.value())), runner(scenario, names, *this) {
    runner.ActAtStart();
    for (std::size_t signal = 0; signal < state.Count(); ++signal)
        OnChange(signal, state.Level(signal), BoardTime(0));
}

Scenario ScenarioPlayer::Read(const std::string& file) {
    try {
        return ReadScenario(file, names);
    } catch (const ScenarioError& mistake) {
        if (report.is_open())
            WriteReport(JUnitReport(suite, mistake));
        throw;
    }
}

void ScenarioPlayer::WriteReport(const std::string& text) {
    report << text;
    report.close();
    if (!report)
        throw BoardError("cannot write the report " + reportFile + ": " + std::strerror(errno));
}

bool ScenarioPlayer::Hears(ProgramStream stream) const {
    const auto log = stream == ProgramStream::OUTPUT ? LogHas::Log::OUTPUT : LogHas::Log::ERRORS;
    const auto isOfLog = [log](const Condition* condition) {
        const auto* has = std::get_if<LogHas>(condition);
        return has && has->log == log;
    };
    return report.is_open() || std::ranges::any_of(scenario.steps, [&isOfLog](const Step& step) {
               return std::ranges::any_of(ConditionsOf(step), isOfLog);
           });
}

void ScenarioPlayer::OnOutput(ProgramStream stream, std::string_view piece, BoardTime time) {
    if (report.is_open())
        captured.Add(stream, piece);
    Keep(time, [this, stream, text = std::string(piece)](ScenarioTime at) { runner.OnOutput(stream, text, at); });
}

void ScenarioPlayer::OnProgramStarted(BoardTime time) {
    ended.reset();
    programRuns = true;
    if (began)
        return;
    beganAt = std::time(nullptr);
    // The initial levels are the first events.
    began = events.size() > state.Count() ? std::min(time, events[state.Count()].first) : time;
}

std::optional<BoardTime> ScenarioPlayer::Due() const {
    if (!programRuns)
        return std::nullopt;
    if (!events.empty())
        return events.front().first;
    if (runner.IsDone())
        return isAsked ? kill : began;
    const auto next = runner.NextTime();
    return next ? std::optional<BoardTime>(*began + *next) : std::nullopt;
}

void ScenarioPlayer::Run(BoardTime now) {
    if (!programRuns)
        return;
    runner.SetTolerance(hasOwnTime && hasOwnTime() ? VIRTUAL_TIME_TOLERANCE : MACHINE_TIME_TOLERANCE);
    Tell();
    runner.OnTime(TimeOf(now));
    Tell(); // what the steps did
    if (runner.IsDone())
        EndProgram(now);
}

void ScenarioPlayer::EndProgram(BoardTime now) {
    runner.Finish(TimeOf(now));
    if (!isAsked) {
        isAsked = true;
        kill = now + END_LIMIT;
        control.SignalProgram(SIGTERM);
    } else if (kill && now >= *kill) {
        kill.reset();
        control.SignalProgram(SIGKILL);
    }
}

int ScenarioPlayer::Finish(BoardTime now) {
    if (!began)
        throw BoardError("the program was never started");
    Tell();
    if (ended && WIFSIGNALED(ended->first))
        runner.OnKilled(WTERMSIG(ended->first), TimeOf(ended->second));
    else if (ended)
        runner.OnExit(WEXITSTATUS(ended->first), TimeOf(ended->second));
    runner.Finish(TimeOf(now));
    const std::string plain = PlainReport(scenario, runner.Results());
    (void)std::fwrite(plain.data(), 1, plain.size(), stderr);
    if (report.is_open())
        WriteReport(JUnitReport(suite, scenario, runner.Results(), beganAt, captured));
    return runner.HasPassed() ? 0 : 1;
}

void ScenarioPlayer::SetFault(const std::string& signal, const std::optional<Fault>& fault) {
    control.SetFault(FindSignal(state, signal), fault);
}

void ScenarioPlayer::Tell() {
    for (; !events.empty(); events.pop_front()) {
        const auto& [time, event] = events.front();
        event(TimeOf(time));
    }
}

ScenarioTime ScenarioPlayer::TimeOf(BoardTime time) const {
    return std::chrono::duration_cast<ScenarioTime>(std::max(time - *began, BoardTime(0)));
}

} // namespace VelrixBoard
