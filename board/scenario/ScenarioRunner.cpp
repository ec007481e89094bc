// SPDX-License-Identifier: Apache-2.0
// One file: each kind of step and condition is played, judged and described here.
#include "board/scenario/ScenarioRunner.h"

#include <algorithm>
#include <cstring>
#include <exception>
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

std::string KilledBy(int signal) {
    return "killed by " + std::string(sigabbrev_np(signal));
}

bool IsSequential(const Step& step) {
    return !std::holds_alternative<Never>(step.what) && !std::holds_alternative<Pulses>(step.what) &&
           !std::holds_alternative<When>(step.what);
}

} // namespace

ScenarioRunner::ScenarioRunner(const Scenario& ownScenario, const ScenarioNames& names, IScenarioBoard& ownBoard)
    : scenario(ownScenario), board(ownBoard), results(ownScenario.steps.size()) {
    for (const auto& led : names.leds)
        leds[led.name];
    ExpectTexts();
}

void ScenarioRunner::ExpectTexts() {
    for (const Step& step : scenario.steps)
        for (const Condition* condition : ConditionsOf(step))
            if (const auto* log = std::get_if<LogHas>(condition))
                Log(log->log).Expect(log->text);
}

void ScenarioRunner::OnLevel(const std::string& signal, bool high, ScenarioTime time) {
    NoteStart(time);
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

void ScenarioRunner::OnTime(ScenarioTime now) {
    if (finished)
        return;
    NoteStart(now);
    last = std::max(last, now);
    // Nothing changes after the program's end, so the current colour counts as steady.
    for (auto& [name, led] : leds)
        led.Settle(ended ? last + LedHistory::GLITCH : last);
    CheckNever(last);
    ActWhenever(last);
    Advance(last);
}

void ScenarioRunner::CheckNever(ScenarioTime now) {
    const auto holds = [&](const Condition& condition) { return Holds(condition, now); };
    for (std::size_t i = 0; !done && i < scenario.steps.size(); ++i)
        if (const auto* never = std::get_if<Never>(&scenario.steps[i].what);
            never && std::ranges::all_of(never->conditions, holds)) {
            Decide(i, Verdict::FAILED, "never expected: " + TextOf(never->conditions) + "; seen at " + TextOf(now),
                   now);
            done = true;
        }
}

// A step acts once: its result is there then.
void ScenarioRunner::ActWhenever(ScenarioTime now) {
    for (std::size_t i = 0; !done && !ended && i < scenario.steps.size(); ++i) {
        const auto* when = std::get_if<When>(&scenario.steps[i].what);
        if (!when || results[i].verdict != Verdict::NOT_REACHED)
            continue;
        if (!awaited.contains(i) && HasBecomeTrue(i, *when, now))
            awaited[i] = (when->condition ? now : ScenarioTime(0)) + when->after;
        if (!awaited.contains(i) || awaited[i] > now)
            continue;
        ActFor(i, when->action, now);
    }
}

// What holds at the start has to become false first.
bool ScenarioRunner::HasBecomeTrue(std::size_t step, const When& when, ScenarioTime now) {
    if (!when.condition)
        return true;
    if (Holds(*when.condition, now))
        return wereFalse.contains(step);
    // An LED's first colour is known only after that time.
    const bool isOfLed = std::holds_alternative<LedIs>(*when.condition);
    if (hasStarted && (!isOfLed || now >= LedHistory::GLITCH))
        wereFalse.insert(step);
    return false;
}

// All levels of the start have the time 0.
void ScenarioRunner::NoteStart(ScenarioTime time) {
    if (hasStarted || time == ScenarioTime(0))
        return;
    hasStarted = true;
    for (std::size_t i = 0; i < scenario.steps.size(); ++i)
        if (const auto* when = std::get_if<When>(&scenario.steps[i].what))
            (void)HasBecomeTrue(i, *when, ScenarioTime(0));
}

void ScenarioRunner::ActAtStart() {
    for (std::size_t i = 0; !done && i < scenario.steps.size(); ++i) {
        const auto* when = std::get_if<When>(&scenario.steps[i].what);
        if (when && !when->condition && when->after == ScenarioTime(0) &&
            !std::holds_alternative<SendSignal>(when->action))
            ActFor(i, when->action, ScenarioTime(0));
    }
}

void ScenarioRunner::ActFor(std::size_t step, const Action& action, ScenarioTime now) {
    try {
        Act(action);
        Decide(step, Verdict::PASSED, "", now);
    } catch (const std::exception& error) {
        Decide(step, Verdict::FAILED, error.what(), now);
        done = true;
    }
}

void ScenarioRunner::Advance(ScenarioTime now) {
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
        done = ended.has_value() || std::any_of(scenario.steps.begin(), scenario.steps.end(), IsSequential);
}

std::optional<ScenarioTime> ScenarioRunner::Play(const Do& action, ScenarioTime now) {
    if (ended)
        return Fail("the program had " + End() + ", before this step", now);
    if (action.at && *action.at > now)
        return std::nullopt;
    try {
        Act(action.action);
    } catch (const std::exception& error) {
        return Fail(error.what(), now);
    }
    return now;
}

void ScenarioRunner::Act(const Action& action) {
    const ForEachKind act{
        [this](const SetInput& a) { board.Set(a.line, a.high); },
        [this](const InjectFault& a) { board.SetFault(a.signal, a.fault); },
        [this](const SetWebLogFull& a) { board.SetWebLogFull(a.isFull); },
        [this](const SendSignal& a) { board.Send(a.signal); },
        [this](const SetReadyTime& a) { board.SetReadyAfter(a.after); },
        [this](const SetClock& a) { board.SetClock(a.change); },
    };
    std::visit(act, action);
}

std::optional<ScenarioTime> ScenarioRunner::Look(const Await& await, ScenarioTime now) {
    const ScenarioTime limit = stepBegin + await.within;
    // An event that is reported late counts when it happened; so does the end of the wait.
    if (now <= limit && Holds(await.condition, now))
        return now;
    if (now < limit && !ended)
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
    for (const auto& [step, time] : awaited)
        if (results[step].verdict == Verdict::NOT_REACHED)
            propose(time);
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
    const bool inOrder = std::ranges::count(results, Verdict::FAILED, &StepResult::verdict) == 0;
    for (std::size_t i = 0; i < scenario.steps.size(); ++i) {
        if (results[i].verdict != Verdict::NOT_REACHED)
            continue;
        const bool hadNoReason = std::holds_alternative<When>(scenario.steps[i].what);
        if (!crash.empty() && inOrder && !hadNoReason) // absence proves nothing then
            Decide(i, Verdict::FAILED, crash + " at " + TextOf(programEnd), programEnd);
        else if (hadNoReason || std::holds_alternative<Never>(scenario.steps[i].what))
            Decide(i, Verdict::PASSED, "", now);
        else if (const auto* pulses = std::get_if<Pulses>(&scenario.steps[i].what)) {
            if (inOrder)
                Judge(i, *pulses, now);
        } else if (inOrder) // the board ended the run before the scenario did
            Decide(i, Verdict::FAILED, "the run ended at " + TextOf(now) + " before this step", now);
    }
    done = true;
}

bool ScenarioRunner::CouldNotRun() const {
    return ended == ProgramEnd{ProgramEnd::How::EXIT, NOT_RUNNABLE} ||
           ended == ProgramEnd{ProgramEnd::How::EXIT, NOT_FOUND};
}

std::string ScenarioRunner::End() const {
    const std::string when = " at " + TextOf(programEnd);
    if (ended->how == ProgramEnd::How::KILL)
        return "been " + KilledBy(ended->number) + when;
    return "exited with " + std::to_string(ended->number) + (CouldNotRun() ? ", as one that cannot be run," : "") +
           when;
}

std::string ScenarioRunner::CutShort(const Condition& condition, ScenarioTime limit) const {
    const bool isOfEnd =
        std::holds_alternative<ProgramEnd>(condition) || std::holds_alternative<ProgramEnds>(condition);
    const bool byEnd = ended && programEnd <= limit && !isOfEnd;
    return byEnd ? "; the program had " + End() : "";
}

std::string ScenarioRunner::Crash() const {
    for (std::size_t i = 0; i < scenario.steps.size(); ++i) {
        const auto* await = std::get_if<Await>(&scenario.steps[i].what);
        if (results[i].verdict == Verdict::PASSED && await && std::holds_alternative<ProgramEnd>(await->condition))
            return "";
    }
    if (CouldNotRun())
        return "the program could not be run (exit code " + std::to_string(ended->number) + ")";
    const bool sent = std::any_of(scenario.steps.begin(), scenario.steps.end(), [this](const Step& step) {
        const auto* action = ActionOf(step);
        const auto* send = action ? std::get_if<SendSignal>(action) : nullptr;
        return send && ended == ProgramEnd{ProgramEnd::How::KILL, send->signal};
    });
    const bool killed = ended && ended->how == ProgramEnd::How::KILL;
    return killed && !sent ? "the program was " + KilledBy(ended->number) : "";
}

void ScenarioRunner::Judge(std::size_t step, const Pulses& pulses, ScenarioTime now) {
    const auto line = lines.find(pulses.line);
    const std::vector<ScenarioTime> none;
    const auto& seen = line == lines.end() ? none : line->second.pulses[pulses.high];
    const std::string what = std::string(pulses.high ? "high" : "low") + " pulse of " + pulses.line;
    if (seen.empty()) {
        const bool isInOne = line != lines.end() && line->second.high == pulses.high && line->second.changed;
        return Decide(step, Verdict::FAILED,
                      "expected a " + what + "; seen none" +
                          (isInOne ? " that ended: it is " + std::string(pulses.high ? "high" : "low") + " since " +
                                         TextOf(line->second.since)
                                   : ""),
                      now);
    }
    for (const ScenarioTime length : seen) {
        const bool tooShort = pulses.atLeast && length < *pulses.atLeast;
        if (tooShort || (pulses.atMost && length > *pulses.atMost))
            return Decide(step, Verdict::FAILED,
                          "expected every " + what + " to last at " +
                              (tooShort ? "least " + TextOf(*pulses.atLeast) : "most " + TextOf(*pulses.atMost)) +
                              "; seen one of " + TextOf(length),
                          now);
    }
    Decide(step, Verdict::PASSED, "", now);
}

bool ScenarioRunner::HasPassed() const {
    return std::all_of(results.begin(), results.end(),
                       [](const StepResult& result) { return result.verdict == Verdict::PASSED; });
}

bool ScenarioRunner::Holds(const Condition& condition, ScenarioTime now) const {
    const ForEachKind holds{
        [&](const LedIs& c) {
            const auto& phases = leds.at(c.led).Phases();
            return !phases.empty() && !leds.at(c.led).Due() && (phases.back().color == c.color) != c.other &&
                   (!c.steady || now - phases.back().begin >= STEADY || ended);
        },
        [&](const LedAlternates& c) { return Alternates(c, now); },
        [&](const LineIs& c) {
            const auto line = lines.find(c.line);
            return line != lines.end() && line->second.high == c.high;
        },
        [&](const ProgramEnd& c) { return ended == c; },
        [&](const ProgramEnds&) { return ended.has_value(); },
        [&](const LogHas& c) { return LogOf(c).Has(c.text); },
        [&](const RebootIsCalled&) { return rebootCalled; },
    };
    return std::visit(holds, condition);
}

// Two consecutive whole phases match, and the current one continues the pattern: it is not longer than its turn, as
// that of an LED that has become steady.
bool ScenarioRunner::Alternates(const LedAlternates& condition, ScenarioTime now) const {
    const auto& phases = leds.at(condition.led).Phases();
    if (phases.size() < 3 || ended)
        return false;
    const ScenarioTime tolerance = condition.tolerance.value_or(usualTolerance);
    const auto fits = [&](const LedHistory::Phase& phase, const std::string& color, ScenarioTime time) {
        const ScenarioTime length = phase.end - phase.begin;
        return phase.color == color && length >= time - tolerance && length <= time + tolerance;
    };
    const auto& before = phases[phases.size() - 3];
    const auto& after = phases[phases.size() - 2];
    const auto goesOn = [&](const std::string& color, ScenarioTime time) {
        return phases.back().color == color && now - phases.back().begin <= time + tolerance;
    };
    return (fits(before, condition.first, condition.firstTime) && fits(after, condition.second, condition.secondTime) &&
            goesOn(condition.first, condition.firstTime)) ||
           (fits(before, condition.second, condition.secondTime) && fits(after, condition.first, condition.firstTime) &&
            goesOn(condition.second, condition.secondTime));
}

std::string ScenarioRunner::SeenOf(const std::string& led) const {
    const auto& phases = leds.at(led).Phases();
    std::string text = led;
    for (std::size_t i = phases.size() - std::min(phases.size(), SHOWN_PHASES); i < phases.size(); ++i)
        text += " " + phases[i].color +
                (i + 1 == phases.size() ? " since " + TextOf(phases[i].begin)
                                        : " for " + TextOf(phases[i].end - phases[i].begin) + ",");
    return text;
}

std::string ScenarioRunner::SeenOfEnd() const {
    if (!ended)
        return "the program is running";
    return ended->how == ProgramEnd::How::EXIT ? "the program exited with " + std::to_string(ended->number)
                                               : "the program was " + KilledBy(ended->number);
}

std::string ScenarioRunner::Seen(const Condition& condition) const {
    const ForEachKind seen{
        [&](const LedIs& c) { return SeenOf(c.led); },
        [&](const LedAlternates& c) { return SeenOf(c.led); },
        [&](const LineIs& c) {
            const auto line = lines.find(c.line);
            if (line == lines.end())
                return c.line + " unknown";
            return c.line + (line->second.high ? " high" : " low") + " since " + TextOf(line->second.since);
        },
        [&](const ProgramEnd&) { return SeenOfEnd(); },
        [&](const ProgramEnds&) { return SeenOfEnd(); },
        [&](const LogHas& c) {
            const bool isLog = c.log == LogHas::Log::WEB || c.log == LogHas::Log::SYSTEM;
            if (LogOf(c).IsEmpty())
                return std::string(isLog ? "an empty log" : "no output");
            return "\"" + LogOf(c).LastRecord() + "\" as the last " + (isLog ? "record" : "line");
        },
        [](const RebootIsCalled&) { return std::string("no call of reboot"); },
    };
    return std::visit(seen, condition);
}

} // namespace VelrixBoard
