// SPDX-License-Identifier: Apache-2.0
#include "board/scenario/ScenarioParser.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <fstream>
#include <iterator>

namespace VelrixBoard {

namespace {

constexpr ScenarioTime DEFAULT_TOLERANCE = std::chrono::milliseconds(50);

struct Word {
    std::string text;
    std::size_t column; // from 1
    bool quoted;
};

std::string Join(const std::vector<std::string>& names) {
    std::string list;
    for (std::size_t i = 0; i < names.size(); ++i)
        list += (i == 0 ? "" : i + 1 == names.size() ? " or " : ", ") + names[i];
    return list;
}

// One line of the file, taken word by word.
class Line final {
public:
    Line(const std::string& ownPath, int ownNumber, std::string_view text) : path(ownPath), number(ownNumber) {
        std::size_t i = 0;
        while (i < text.size() && text[i] != '#') {
            if (std::strchr(" \t\r", text[i])) {
                ++i;
                continue;
            }
            const std::size_t begin = i;
            if (text[i] == '"') {
                const std::size_t close = text.find('"', i + 1);
                if (close == text.npos)
                    Fail(begin + 1, "the quotes that begin here do not end in this line");
                words.push_back({std::string(text.substr(i + 1, close - i - 1)), begin + 1, true});
                i = close + 1;
            } else {
                while (i < text.size() && !std::strchr(" \t\r#", text[i]))
                    ++i;
                words.push_back({std::string(text.substr(begin, i - begin)), begin + 1, false});
            }
            end = i;
        }
        if (!words.empty())
            whole = text.substr(words.front().column - 1, end - words.front().column + 1);
    }

    bool Empty() const { return words.empty(); }
    const std::string& Text() const { return whole; }
    int Number() const { return number; }

    bool AtEnd() const { return next == words.size(); }
    bool Is(std::string_view word) const { return !AtEnd() && !words[next].quoted && words[next].text == word; }
    bool Take(std::string_view word) {
        if (!Is(word))
            return false;
        ++next;
        return true;
    }
    void Need(std::string_view word) {
        if (!Take(word))
            FailHere("'" + std::string(word) + "'");
    }
    const std::string& Peek() const { return words[next].text; }
    std::string Any(const std::string& expected) {
        if (AtEnd())
            FailHere(expected);
        return words[next++].text;
    }
    std::string OneOf(const std::vector<std::string>& allowed) {
        if (AtEnd() || std::find(allowed.begin(), allowed.end(), Peek()) == allowed.end())
            FailHere(Join(allowed));
        return words[next++].text;
    }
    ScenarioTime Time() {
        const auto time = AtEnd() ? std::nullopt : ParseTime(Peek());
        if (!time)
            FailHere("a time such as 500ms or 2s");
        ++next;
        return *time;
    }
    bool High() { return OneOf({"high", "low"}) == "high"; }
    int Signal() {
        const auto signal = AtEnd() ? std::nullopt : SignalNumber(Peek());
        if (!signal)
            FailHere("a signal such as TERM or KILL");
        ++next;
        return *signal;
    }

    [[noreturn]] void FailHere(const std::string& expected) const {
        if (AtEnd())
            Fail(end + 1, "expected " + expected + ", found the end of the line");
        Fail(words[next].column, "expected " + expected + ", found '" + words[next].text + "'");
    }

private:
    [[noreturn]] void Fail(std::size_t column, const std::string& what) const {
        throw ScenarioError(path + ":" + std::to_string(number) + ":" + std::to_string(column) + ": " + what);
    }

    const std::string& path;
    const int number;
    std::vector<Word> words;
    std::size_t next = 0;
    std::size_t end = 0;
    std::string whole;
};

class Parser final {
public:
    Parser(const ScenarioNames& ownNames) : names(ownNames) {
        for (const auto& led : names.leds)
            for (const auto& color : led.colors)
                signals.push_back(led.name + "." + color);
        lines = names.inputs;
        lines.insert(lines.end(), names.outputs.begin(), names.outputs.end());
        signals.insert(signals.end(), lines.begin(), lines.end());
    }

    std::variant<Do, Await, Wait, Never, Pulses> ParseStep(Line& line) const {
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
        if (line.Take("never"))
            return Never{ParseCondition(line)};
        if (line.Take("expect"))
            return ParsePulses(line);
        if (line.Is("set") || line.Is("fault") || line.Is("send"))
            return Do{std::nullopt, ParseAction(line)};
        line.FailHere("within, at, set, fault, send, wait, expect or never");
    }

private:
    Action ParseAction(Line& line) const {
        if (line.Take("set")) {
            const std::string input = line.OneOf(names.inputs);
            return SetInput{input, line.High()};
        }
        if (line.Take("fault")) {
            const std::string signal = line.OneOf(signals);
            return InjectFault{signal, ParseFaultOf(signal, line)};
        }
        if (line.Take("send"))
            return SendSignal{line.Signal()};
        line.FailHere("set, fault or send");
    }

    std::optional<Fault> ParseFaultOf(const std::string& signal, Line& line) const {
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

    Pulses ParsePulses(Line& line) const {
        Pulses pulses{line.OneOf(lines), false, std::nullopt, std::nullopt};
        line.Need("pulses");
        pulses.high = line.High();
        if (!line.Take("for"))
            return pulses;
        line.Need("at");
        if (line.Take("least")) {
            pulses.atLeast = line.Time();
            if (!line.Take("and"))
                return pulses;
            line.Need("at");
        }
        line.Need("most");
        pulses.atMost = line.Time();
        return pulses;
    }

    Condition ParseCondition(Line& line) const {
        if (line.Take("program")) {
            if (line.Take("exits")) {
                line.Need("with");
                return ProgramExits{ParseExitCode(line)};
            }
            line.Need("is");
            line.Need("killed");
            line.Need("by");
            return ProgramIsKilled{line.Signal()};
        }
        if (line.Take("web")) {
            line.Need("log");
            line.Need("has");
            return WebLogHas{line.Any("a text")};
        }
        if (line.Take("system")) {
            line.Need("log");
            line.Need("has");
            return SystemLogHas{line.Any("a text")};
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
        std::vector<std::string> subjects;
        for (const auto& led : names.leds)
            subjects.push_back(led.name);
        subjects.insert(subjects.end(), lines.begin(), lines.end());
        subjects.insert(subjects.end(), {"program", "web log", "system log", "reboot"});
        line.FailHere(Join(subjects));
    }

    static int ParseExitCode(Line& line) {
        int code = -1;
        if (!line.AtEnd()) {
            const std::string& text = line.Peek();
            const auto [rest, error] = std::from_chars(text.data(), text.data() + text.size(), code);
            if (error != std::errc() || rest != text.data() + text.size())
                code = -1;
        }
        if (code < 0 || code > 255)
            line.FailHere("an exit code from 0 to 255");
        line.Any("");
        return code;
    }

    static Condition ParseLed(Line& line, const ScenarioNames::Led& led) {
        if (line.Take("flashing")) {
            const std::string color = line.OneOf(led.colors);
            return ParseAlternation(line, led.name, color, "off");
        }
        if (line.Take("toggling")) {
            const std::string first = line.OneOf(led.colors);
            const std::string second = line.OneOf(led.colors);
            return ParseAlternation(line, led.name, first, second);
        }
        std::vector<std::string> colors = led.colors;
        colors.push_back("off");
        if (line.Take("steady"))
            return LedIs{led.name, line.OneOf(colors), true};
        if (line.AtEnd() || std::find(colors.begin(), colors.end(), line.Peek()) == colors.end()) {
            colors.insert(colors.begin(), {"steady", "flashing", "toggling"});
            line.FailHere(Join(colors));
        }
        return LedIs{led.name, line.Any(""), false};
    }

    static LedAlternates ParseAlternation(Line& line, const std::string& led, const std::string& first,
                                          const std::string& second) {
        const ScenarioTime firstTime = line.Time();
        const ScenarioTime secondTime = line.Time();
        const ScenarioTime tolerance = line.Take("tolerance") ? line.Time() : DEFAULT_TOLERANCE;
        return {led, first, second, firstTime, secondTime, tolerance};
    }

    const ScenarioNames& names;
    std::vector<std::string> lines;
    std::vector<std::string> signals;
};

} // namespace

Scenario ParseScenario(const std::string& path, std::string_view text, const ScenarioNames& names) {
    Scenario scenario{path, {}};
    const Parser parser(names);
    int number = 0;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        Line line(scenario.path, ++number, text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
        if (line.Empty())
            continue;
        auto what = parser.ParseStep(line);
        if (!line.AtEnd())
            line.FailHere("the end of the line");
        scenario.steps.push_back({line.Number(), line.Text(), std::move(what)});
    }
    if (scenario.steps.empty())
        throw ScenarioError(path + ": has no steps; write one a line, such as \"within 2s program exits with 0\"");
    return scenario;
}

Scenario ReadScenario(const std::string& path, const ScenarioNames& names) {
    std::ifstream input(path);
    const std::string text{std::istreambuf_iterator<char>(input), {}};
    if (!input)
        throw ScenarioError("cannot read the scenario " + path + ": " + std::strerror(errno));
    return ParseScenario(path, text, names);
}

} // namespace VelrixBoard
