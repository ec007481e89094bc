// SPDX-License-Identifier: Apache-2.0
#include "board/scenario/ScenarioParser.h"

#include <algorithm>

#include "board/model/OxboModule.h"
#include "board/scenario/ScenarioSource.h"

namespace VelrixBoard {

namespace {

class Parser final {
public:
    explicit Parser(const ScenarioNames& ownNames) : names(ownNames) {
        for (const auto& led : names.leds)
            for (const auto& color : led.colors)
                signals.push_back(led.name + "." + color);
        lines = names.inputs;
        lines.insert(lines.end(), names.outputs.begin(), names.outputs.end());
        signals.insert(signals.end(), lines.begin(), lines.end());
    }

    std::variant<Do, Await, Wait, When, Never, Pulses> ParseStep(ScenarioLine& line) const {
        if (line.Take("at")) {
            const ScenarioTime at = line.Time();
            return Do{at, ParseAction(line)};
        }
        if (line.Take("within")) {
            const ScenarioTime within = line.Time();
            return Await{within, ParseCondition(line)};
        }
        if (line.Take("wait"))
            return Wait{line.Time()};
        if (line.Take("when"))
            return ParseWhen(line);
        if (line.Take("never"))
            return ParseNever(line);
        if (line.Take("expect"))
            return ParsePulses(line);
        if (line.Is("set") || line.Is("fault") || line.Is("send") || line.Is("module"))
            return Do{std::nullopt, ParseAction(line)};
        line.FailHere("within, at, set, fault, send, module, wait, when, expect, never, repeat or include");
    }

private:
    Action ParseAction(ScenarioLine& line) const {
        line.Begin();
        if (line.Take("set")) {
            if (line.Take("clock"))
                return ParseClock(line);
            std::vector<std::string> settable = names.inputs;
            if (line.AtEnd() || std::find(settable.begin(), settable.end(), line.Peek()) == settable.end()) {
                settable.push_back("clock");
                line.FailHere(JoinAlternatives(settable));
            }
            const std::string input = line.Any("");
            return SetInput{input, line.High()};
        }
        if (line.Take("fault"))
            return ParseFaultAction(line);
        if (line.Take("send"))
            return SendSignal{line.Signal()};
        if (line.Take("module")) {
            line.Need("ready");
            if (line.Take("never"))
                return SetReadyTime{std::nullopt};
            line.Need("after");
            return SetReadyTime{ParseReadyAfter(line)};
        }
        line.FailHere("set, fault, send or module");
    }

    Action ParseFaultAction(ScenarioLine& line) const {
        if (line.Take("web")) {
            line.Need("log");
            return SetWebLogFull{line.OneOf({"ENOSPC", "none"}) == "ENOSPC"};
        }
        if (line.AtEnd() || std::find(signals.begin(), signals.end(), line.Peek()) == signals.end()) {
            std::vector<std::string> breakable = signals;
            breakable.emplace_back("web log");
            line.FailHere(JoinAlternatives(breakable));
        }
        const std::string signal = line.Any("");
        return InjectFault{signal, ParseFaultOf(signal, line)};
    }

    static std::optional<std::chrono::milliseconds> ParseReadyAfter(ScenarioLine& line) {
        try {
            const auto after = ParseReadyTime(line.AtEnd() ? "" : line.Peek());
            line.Any("");
            return after;
        } catch (const std::exception&) {
            line.FailHere("a time of whole milliseconds such as 40ms or 2s");
        }
    }

    When ParseWhen(ScenarioLine& line) const {
        line.Begin();
        std::optional<Condition> condition;
        if (!TakeStart(line))
            condition = ParseCondition(line);
        const ScenarioTime after = line.May("after") ? line.Time() : ScenarioTime(0);
        const std::size_t subject = line.Subject();
        Action action = ParseAction(line);
        line.SetSubject(subject);
        return {std::move(condition), after, std::move(action)};
    }

    Never ParseNever(ScenarioLine& line) const {
        Never never{{ParseCondition(line)}};
        const std::size_t subject = line.Subject();
        while (line.May("and"))
            never.conditions.push_back(ParseCondition(line));
        line.SetSubject(subject);
        return never;
    }

    // "program starts"; takes nothing else.
    static bool TakeStart(ScenarioLine& line) {
        ScenarioLine ahead = line;
        if (!ahead.Take("program") || !ahead.Take("starts"))
            return false;
        line = ahead;
        return true;
    }

    static SetClock ParseClock(ScenarioLine& line) {
        if (line.Take("forward"))
            return {{true, line.Time()}};
        if (line.Take("back"))
            return {{true, -line.Time()}};
        const auto date = line.AtEnd() ? std::nullopt : ParseDate(line.Peek());
        if (!date)
            line.FailHere("forward, back or a moment such as 2038-01-19T03:14:00Z");
        line.Any("");
        return {{false, *date}};
    }

    std::optional<Fault> ParseFaultOf(const std::string& signal, ScenarioLine& line) const {
        if (line.Take("none"))
            return std::nullopt;
        const bool isInput = std::find(names.inputs.begin(), names.inputs.end(), signal) != names.inputs.end();
        try {
            const Fault fault = ParseFault(line.AtEnd() ? "" : line.Peek());
            if (!isInput || fault.kind != Fault::Kind::NO_SPACE) { // nobody writes to an input
                line.Any("");
                return fault;
            }
        } catch (const FaultError&) {
        }
        line.FailHere(std::string(isInput ? "EIO, EACCES" : "EIO, ENOSPC, EACCES") +
                      ", slow:TIME from 1us to 60min, missing or none");
    }

    Pulses ParsePulses(ScenarioLine& line) const {
        Pulses pulses{line.OneOf(lines), false, std::nullopt, std::nullopt};
        line.Need("pulses");
        pulses.high = line.High();
        if (!line.May("for"))
            return pulses;
        line.Need("at");
        if (line.OneOf({"least", "most"}) == "most") {
            pulses.atMost = line.Time();
            return pulses;
        }
        pulses.atLeast = line.Time();
        if (!line.May("and"))
            return pulses;
        line.Need("at");
        line.Need("most");
        pulses.atMost = line.Time(*pulses.atLeast);
        return pulses;
    }

    Condition ParseCondition(ScenarioLine& line) const {
        line.Begin();
        if (line.Take("program")) {
            const std::string how = line.OneOf({"ends", "exits", "is"});
            if (how == "ends")
                return ProgramEnds{};
            if (how == "exits") {
                line.Need("with");
                return ProgramEnd{ProgramEnd::How::EXIT, line.Number(0, 255, "an exit code")};
            }
            line.Need("killed");
            line.Need("by");
            return ProgramEnd{ProgramEnd::How::KILL, line.Signal()};
        }
        if (const bool web = line.Take("web"); web || line.Take("system")) {
            line.Need("log");
            line.Need("has");
            return LogHas{web ? LogHas::Log::WEB : LogHas::Log::SYSTEM, line.Any("a text")};
        }
        if (const bool output = line.Take("stdout"); output || line.Take("stderr")) {
            line.Need("has");
            return LogHas{output ? LogHas::Log::OUTPUT : LogHas::Log::ERRORS, line.Any("a text")};
        }
        if (line.Take("reboot")) {
            line.Need("is");
            line.Need("called");
            return RebootIsCalled{};
        }
        for (const auto& led : names.leds)
            if (line.Take(led.name)) {
                line.Need("is");
                return ParseLed(line, led);
            }
        if (!line.AtEnd() && std::find(lines.begin(), lines.end(), line.Peek()) != lines.end()) {
            const std::string name = line.Any("");
            line.Need("is");
            return LineIs{name, line.High()};
        }
        FailWithSubjects(line);
    }

    [[noreturn]] void FailWithSubjects(const ScenarioLine& line) const {
        std::vector<std::string> subjects;
        for (const auto& led : names.leds)
            subjects.push_back(led.name);
        subjects.insert(subjects.end(), lines.begin(), lines.end());
        subjects.insert(subjects.end(), {"program", "stdout", "stderr", "web log", "system log", "reboot"});
        line.FailHere(JoinAlternatives(subjects));
    }

    // The colours of an LED except "off": one element, or several together.
    static std::vector<std::string> ColorsOf(const ScenarioNames::Led& led) {
        std::vector<std::string> colors = led.colors;
        if (colors.size() > 1)
            colors.push_back(JoinedColors(colors));
        return colors;
    }

    // Normalises to LedHistory's order: "red+green" is "green+red".
    static std::string JoinedColors(std::vector<std::string> elements) {
        std::sort(elements.begin(), elements.end());
        std::string joined;
        for (std::size_t i = 0; i < elements.size(); ++i)
            joined += (i == 0 ? "" : "+") + elements[i];
        return joined;
    }

    // The colour at this word. Any other word fails with the list of colours.
    static std::string ParseColor(ScenarioLine& line, const std::vector<std::string>& allowed,
                                  const std::vector<std::string>& besides = {}) {
        if (!line.AtEnd()) {
            std::vector<std::string> elements;
            for (std::string_view rest = line.Peek();;) {
                const std::size_t plus = std::min(rest.find('+'), rest.size());
                elements.emplace_back(rest.substr(0, plus));
                if (plus == rest.size())
                    break;
                rest.remove_prefix(plus + 1);
            }
            const std::string color = JoinedColors(elements);
            if (std::find(allowed.begin(), allowed.end(), color) != allowed.end()) {
                line.Any("");
                return color;
            }
        }
        std::vector<std::string> possible = besides;
        possible.insert(possible.end(), allowed.begin(), allowed.end());
        line.FailHere(JoinAlternatives(possible));
    }

    Condition ParseLed(ScenarioLine& line, const ScenarioNames::Led& led) const {
        std::vector<std::string> colors = ColorsOf(led);
        if (line.Take("flashing")) {
            const std::string color = ParseColor(line, colors);
            return ParseAlternation(line, led.name, color, "off");
        }
        if (line.Take("toggling")) {
            const std::string first = ParseColor(line, colors);
            std::erase(colors, first);
            const std::string second = ParseColor(line, colors);
            return ParseAlternation(line, led.name, first, second);
        }
        colors.push_back("off");
        const bool steady = line.Take("steady");
        const bool other = !steady && line.Take("not");
        const std::vector<std::string> keywords = {"steady", "not", "flashing", "toggling"};
        return LedIs{led.name, ParseColor(line, colors, steady || other ? std::vector<std::string>() : keywords),
                     steady, other};
    }

    LedAlternates ParseAlternation(ScenarioLine& line, const std::string& led, const std::string& first,
                                   const std::string& second) const {
        const ScenarioTime firstTime = line.Time();
        const ScenarioTime secondTime = line.Time();
        const auto tolerance = line.May("tolerance") ? std::optional(line.Time()) : std::nullopt;
        return {led, first, second, firstTime, secondTime, tolerance};
    }

    const ScenarioNames& names;
    std::vector<std::string> lines;
    std::vector<std::string> signals;
};

// The earliest time that the steps so far leave for the next one; steps run in order.
class Order final {
public:
    // Throws ScenarioError for an action that would always come too late.
    void Add(const ScenarioLine& line, const Step& step) {
        if (const auto* wait = std::get_if<Wait>(&step.what))
            earliest += wait->length;
        const auto* action = std::get_if<Do>(&step.what);
        if (!action || !action->at)
            return;
        if (*action->at < earliest)
            line.Fail(line.Column(), "this step is always late: the steps above take until " + TextOf(earliest) +
                                         "; steps run in order, so put it above them");
        earliest = *action->at;
    }

private:
    ScenarioTime earliest{0};
};

// A repeated step is judged in each round, so what counts from the start or for the whole run has no place there.
void RefuseInRepeat(const PlayedLine& line) {
    if (line.round.empty())
        return;
    if (line.words.Is("at"))
        line.words.Fail(line.words.Column(), "a time since the start cannot be repeated; use wait");
    if (line.words.Is("never") || line.words.Is("expect") || line.words.Is("when"))
        line.words.Fail(line.words.Column(), "it holds for the whole run; write it outside of repeat");
}

} // namespace

Scenario ParseScenario(const std::string& path, std::string_view text, const ScenarioNames& names) {
    Scenario scenario{path, {}};
    const Parser parser(names);
    Order order;
    for (PlayedLine& line : WriteOut(path, text)) {
        RefuseInRepeat(line);
        auto what = parser.ParseStep(line.words);
        line.words.NeedEnd();
        scenario.steps.push_back({line.words.Number(), line.words.Text(), std::move(what), line.words.Subject(),
                                  line.words.File(), line.round});
        order.Add(line.words, scenario.steps.back());
    }
    if (scenario.steps.empty())
        throw ScenarioError(path + ": has no steps; write one per line, such as \"within 2s program exits with 0\"");
    return scenario;
}

Scenario ReadScenario(const std::string& path, const ScenarioNames& names) {
    std::string text;
    try {
        text = ReadScenarioText(path);
    } catch (const std::runtime_error& error) {
        throw ScenarioError("cannot read the scenario " + path + ": " + error.what() +
                            "; give a text file with one step per line");
    }
    return ParseScenario(path, text, names);
}

} // namespace VelrixBoard
