// SPDX-License-Identifier: Apache-2.0
#include "board/scenario/ScenarioRunner.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <type_traits>
#include <utility>

namespace VelrixBoard {

namespace {

using Verdict = StepResult::Verdict;

// Longer than half a period of every pattern.
constexpr ScenarioTime STEADY = std::chrono::milliseconds(1'000);

// The shell's exit codes of a program that could not be started.
constexpr int NOT_RUNNABLE = 126;
constexpr int NOT_FOUND = 127;

// How many phases a failure report shows.
constexpr std::size_t SHOWN_PHASES = 6;

bool IsSequential(const Step& step) {
    return !std::holds_alternative<Never>(step.what) && !std::holds_alternative<Pulses>(step.what);
}

} // namespace

ScenarioRunner::ScenarioRunner(const Scenario& ownScenario, const ScenarioNames& names, IScenarioBoard& ownBoard)
    : scenario(ownScenario), board(ownBoard), results(ownScenario.steps.size()) {
    for (const auto& led : names.leds)
        leds[led.name];
    ExpectTexts();
}

void ScenarioRunner::ExpectTexts() {
    for (const Step& step : scenario.steps) {
        const auto* await = std::get_if<Await>(&step.what);
        const auto* never = std::get_if<Never>(&step.what);
        const Condition* condition = await ? &await->condition : never ? &never->condition : nullptr;
        if (const auto* web = condition ? std::get_if<WebLogHas>(condition) : nullptr)
            webLog.Expect(web->text);
        if (const auto* system = condition ? std::get_if<SystemLogHas>(condition) : nullptr)
            systemLog.Expect(system->text);
    }
}

void ScenarioRunner::OnLevel(const std::string& signal, bool high, ScenarioTime time) {
    const std::size_t dot = signal.find('.');
    if (const auto led = leds.find(signal.substr(0, dot)); led != leds.end() && dot != signal.npos)
        led->second.Set(signal.substr(dot + 1), high, time);
    else {
        const auto [place, isNew] = lines.try_emplace(signal);
        LineHistory& line = place->second;
        if (!isNew && line.high != high) {
            if (line.changed)
                line.pulses[line.high].push_back(time - line.since);
            line.changed = true;
        }
        if (isNew || line.high != high)
            line.since = time;
        line.high = high;
    }
    OnTime(time);
}

void ScenarioRunner::OnWebLog(std::string_view record, ScenarioTime time) {
    webLog.Add(record);
    OnTime(time);
}

void ScenarioRunner::OnSystemLog(std::string_view record, ScenarioTime time) {
    systemLog.Add(record);
    OnTime(time);
}

void ScenarioRunner::OnReboot(ScenarioTime time) {
    rebootCalled = true;
    OnTime(time);
}

void ScenarioRunner::OnExit(int code, ScenarioTime time) {
    exitCode = code;
    programEnd = time;
    OnTime(time);
}

void ScenarioRunner::OnKilled(int signal, ScenarioTime time) {
    killedBy = signal;
    programEnd = time;
    OnTime(time);
}

void ScenarioRunner::OnTime(ScenarioTime now) {
    if (finished)
        return;
    last = std::max(last, now);
    Settle(last);
    CheckNever(last);
    Advance(last);
}

void ScenarioRunner::Settle(ScenarioTime now) {
    // Nothing changes after the program's end, so the current colour counts as steady.
    const ScenarioTime until = exitCode || killedBy ? now + LedHistory::GLITCH : now;
    for (auto& [name, led] : leds)
        led.Settle(until);
}

void ScenarioRunner::CheckNever(ScenarioTime now) {
    for (std::size_t i = 0; !done && i < scenario.steps.size(); ++i)
        if (const auto* never = std::get_if<Never>(&scenario.steps[i].what); never && Holds(never->condition, now)) {
            Decide(i, Verdict::FAILED, "never expected: " + TextOf(never->condition) + "; seen at " + TextOf(now), now);
            done = true;
        }
}

void ScenarioRunner::Advance(ScenarioTime now) {
    const bool ended = exitCode || killedBy;
    for (; !done && next < scenario.steps.size(); ++next) {
        const Step& step = scenario.steps[next];
        std::optional<ScenarioTime> when;
        if (const auto* action = std::get_if<Do>(&step.what))
            when = Play(*action, now);
        else if (const auto* await = std::get_if<Await>(&step.what))
            when = Look(*await, now);
        else if (const auto* wait = std::get_if<Wait>(&step.what))
            when = now < stepBegin + wait->length && !ended ? when : std::min(now, stepBegin + wait->length);
        else
            continue; // judged at the end
        if (!when)
            return;
        Decide(next, Verdict::PASSED, "", *when);
        stepBegin = *when;
    }
    // Without sequential steps the program runs until it ends.
    if (next == scenario.steps.size())
        done = ended || std::any_of(scenario.steps.begin(), scenario.steps.end(), IsSequential);
}

std::optional<ScenarioTime> ScenarioRunner::Play(const Do& action, ScenarioTime now) {
    if (exitCode || killedBy)
        return Fail("the program had " + End() + ", before this step", now);
    if (action.at && *action.at > now)
        return std::nullopt;
    try {
        if (const auto* set = std::get_if<SetInput>(&action.action))
            board.Set(set->line, set->high);
        else if (const auto* fault = std::get_if<InjectFault>(&action.action))
            board.SetFault(fault->signal, fault->fault);
        else
            board.Send(std::get<SendSignal>(action.action).signal);
    } catch (const std::exception& error) {
        return Fail(error.what(), now);
    }
    return now;
}

std::optional<ScenarioTime> ScenarioRunner::Look(const Await& await, ScenarioTime now) {
    const ScenarioTime limit = stepBegin + await.within;
    // An event that is told late counts when it happened; so does the end of the wait.
    if (now <= limit && Holds(await.condition, now))
        return now;
    if (now < limit && !exitCode && !killedBy)
        return std::nullopt;
    return Fail("expected within " + TextOf(await.within) + ": " + TextOf(await.condition) + "; seen at " +
                    TextOf(std::min(now, limit)) + ": " + Seen(await.condition) + CutShort(await.condition, limit),
                std::min(now, limit));
}

std::nullopt_t ScenarioRunner::Fail(std::string message, ScenarioTime time) {
    Decide(next, Verdict::FAILED, std::move(message), time);
    done = true;
    return std::nullopt;
}

std::optional<ScenarioTime> ScenarioRunner::NextTime() const {
    if (done || finished)
        return std::nullopt;
    std::optional<ScenarioTime> soonest;
    const auto propose = [&](ScenarioTime time) { soonest = soonest ? std::min(*soonest, time) : time; };
    for (const auto& [name, led] : leds) {
        if (const auto due = led.Due())
            propose(*due);
        // When a colour may become steady; in the middle of a pattern's phases nothing can.
        if (!led.Phases().empty() && led.Phases().back().begin + STEADY > last)
            propose(led.Phases().back().begin + STEADY);
    }
    if (next < scenario.steps.size()) {
        const auto& what = scenario.steps[next].what;
        if (const auto* action = std::get_if<Do>(&what); action && action->at)
            propose(*action->at);
        if (const auto* await = std::get_if<Await>(&what))
            propose(stepBegin + await->within);
        if (const auto* wait = std::get_if<Wait>(&what))
            propose(stepBegin + wait->length);
    }
    return soonest;
}

void ScenarioRunner::Finish(ScenarioTime now) {
    if (finished)
        return;
    OnTime(now);
    finished = true;
    const std::string crash = Crash();
    const bool inOrder = std::none_of(results.begin(), results.end(),
                                      [](const StepResult& result) { return result.verdict == Verdict::FAILED; });
    for (std::size_t i = 0; i < scenario.steps.size(); ++i) {
        if (results[i].verdict != Verdict::NOT_REACHED)
            continue;
        if (!crash.empty() && inOrder) // absence proves nothing then
            Decide(i, Verdict::FAILED, crash + " at " + TextOf(programEnd), programEnd);
        else if (std::holds_alternative<Never>(scenario.steps[i].what))
            Decide(i, Verdict::PASSED, "", now);
        else if (const auto* pulses = std::get_if<Pulses>(&scenario.steps[i].what)) {
            if (inOrder)
                Judge(i, *pulses, now);
        } else if (inOrder) // the board ended the run before the scenario did
            Decide(i, Verdict::FAILED, "the run ended at " + TextOf(now) + " before this step", now);
    }
    done = true;
}

std::string ScenarioRunner::End() const {
    const std::string when = " at " + TextOf(programEnd);
    if (killedBy)
        return "been killed by " + std::string(sigabbrev_np(*killedBy)) + when;
    const bool failed = exitCode == NOT_RUNNABLE || exitCode == NOT_FOUND;
    return "exited with " + std::to_string(*exitCode) + (failed ? ", as one that cannot be run," : "") + when;
}

std::string ScenarioRunner::CutShort(const Condition& condition, ScenarioTime limit) const {
    const bool seen =
        std::holds_alternative<ProgramExits>(condition) || std::holds_alternative<ProgramIsKilled>(condition);
    return (exitCode || killedBy) && programEnd <= limit && !seen ? "; the program had " + End() : "";
}

std::string ScenarioRunner::Crash() const {
    for (std::size_t i = 0; i < scenario.steps.size(); ++i) {
        const auto* await = std::get_if<Await>(&scenario.steps[i].what);
        const auto* exits = await ? std::get_if<ProgramExits>(&await->condition) : nullptr;
        const auto* killed = await ? std::get_if<ProgramIsKilled>(&await->condition) : nullptr;
        if (results[i].verdict == Verdict::PASSED && (exits || killed))
            return "";
    }
    if (exitCode == NOT_RUNNABLE || exitCode == NOT_FOUND)
        return "the program could not be run (exit code " + std::to_string(*exitCode) + ")";
    const bool sent = std::any_of(scenario.steps.begin(), scenario.steps.end(), [this](const Step& step) {
        const auto* action = std::get_if<Do>(&step.what);
        const auto* send = action ? std::get_if<SendSignal>(&action->action) : nullptr;
        return send && send->signal == killedBy;
    });
    return killedBy && !sent ? "the program was killed by " + std::string(sigabbrev_np(*killedBy)) : "";
}

void ScenarioRunner::Judge(std::size_t step, const Pulses& pulses, ScenarioTime now) {
    const auto line = lines.find(pulses.line);
    const std::vector<ScenarioTime> none;
    const auto& seen = line == lines.end() ? none : line->second.pulses[pulses.high];
    const std::string what = std::string(pulses.high ? "high" : "low") + " pulse of " + pulses.line;
    if (seen.empty())
        return Decide(step, Verdict::FAILED, "expected a " + what + "; seen none", now);
    for (const ScenarioTime length : seen) {
        if (pulses.atLeast && length < *pulses.atLeast)
            return Decide(step, Verdict::FAILED,
                          "expected every " + what + " to last at least " + TextOf(*pulses.atLeast) + "; seen one of " +
                              TextOf(length),
                          now);
        if (pulses.atMost && length > *pulses.atMost)
            return Decide(step, Verdict::FAILED,
                          "expected every " + what + " to last at most " + TextOf(*pulses.atMost) + "; seen one of " +
                              TextOf(length),
                          now);
    }
    Decide(step, Verdict::PASSED, "", now);
}

bool ScenarioRunner::HasPassed() const {
    return std::all_of(results.begin(), results.end(),
                       [](const StepResult& result) { return result.verdict == Verdict::PASSED; });
}

void ScenarioRunner::Decide(std::size_t step, Verdict verdict, std::string message, ScenarioTime time) {
    results[step] = {verdict, std::move(message), time};
}

bool ScenarioRunner::Holds(const Condition& condition, ScenarioTime now) const {
    return std::visit(
        [&](const auto& c) -> bool {
            using Kind = std::decay_t<decltype(c)>;
            if constexpr (std::is_same_v<Kind, LedIs>) {
                const auto& phases = leds.at(c.led).Phases();
                return !phases.empty() && !leds.at(c.led).Due() && phases.back().color == c.color &&
                       (!c.steady || now - phases.back().begin >= STEADY || exitCode || killedBy);
            } else if constexpr (std::is_same_v<Kind, LedAlternates>)
                return Alternates(c);
            else if constexpr (std::is_same_v<Kind, LineIs>) {
                const auto line = lines.find(c.line);
                return line != lines.end() && line->second.high == c.high;
            } else if constexpr (std::is_same_v<Kind, ProgramExits>)
                return exitCode == c.code;
            else if constexpr (std::is_same_v<Kind, ProgramIsKilled>)
                return killedBy == c.signal;
            else if constexpr (std::is_same_v<Kind, WebLogHas>)
                return webLog.Has(c.text);
            else if constexpr (std::is_same_v<Kind, SystemLogHas>)
                return systemLog.Has(c.text);
            else
                return rebootCalled;
        },
        condition);
}

// Two consecutive whole phases match, and the current one continues the pattern.
bool ScenarioRunner::Alternates(const LedAlternates& condition) const {
    const auto& phases = leds.at(condition.led).Phases();
    if (phases.size() < 3 || exitCode || killedBy)
        return false;
    const auto fits = [&](const LedHistory::Phase& phase, const std::string& color, ScenarioTime time) {
        const ScenarioTime length = phase.end - phase.begin;
        return phase.color == color && length >= time - condition.tolerance && length <= time + condition.tolerance;
    };
    const auto& before = phases[phases.size() - 3];
    const auto& after = phases[phases.size() - 2];
    const std::string& shown = phases.back().color;
    return (fits(before, condition.first, condition.firstTime) && fits(after, condition.second, condition.secondTime) &&
            shown == condition.first) ||
           (fits(before, condition.second, condition.secondTime) && fits(after, condition.first, condition.firstTime) &&
            shown == condition.second);
}

std::string ScenarioRunner::Seen(const Condition& condition) const {
    const auto led = [&](const std::string& name) {
        const auto& phases = leds.at(name).Phases();
        std::string text = name;
        for (std::size_t i = phases.size() - std::min(phases.size(), SHOWN_PHASES); i < phases.size(); ++i)
            text += " " + phases[i].color +
                    (i + 1 == phases.size() ? " since " + TextOf(phases[i].begin)
                                            : " for " + TextOf(phases[i].end - phases[i].begin) + ",");
        return text;
    };
    return std::visit(
        [&](const auto& c) -> std::string {
            using Kind = std::decay_t<decltype(c)>;
            if constexpr (std::is_same_v<Kind, LedIs> || std::is_same_v<Kind, LedAlternates>)
                return led(c.led);
            else if constexpr (std::is_same_v<Kind, LineIs>) {
                const auto line = lines.find(c.line);
                return line == lines.end()
                           ? c.line + " unknown"
                           : c.line + (line->second.high ? " high" : " low") + " since " + TextOf(line->second.since);
            } else if constexpr (std::is_same_v<Kind, ProgramExits> || std::is_same_v<Kind, ProgramIsKilled>)
                return exitCode   ? "the program exited with " + std::to_string(*exitCode)
                       : killedBy ? "the program was killed by " + std::string(sigabbrev_np(*killedBy))
                                  : "the program is running";
            else if constexpr (std::is_same_v<Kind, RebootIsCalled>)
                return "no call of reboot";
            else {
                const LogHistory& log = std::is_same_v<Kind, WebLogHas> ? webLog : systemLog;
                return log.IsEmpty() ? "an empty log" : "\"" + log.LastRecord() + "\" as the last record";
            }
        },
        condition);
}

} // namespace VelrixBoard
