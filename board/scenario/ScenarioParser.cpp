// SPDX-License-Identifier: Apache-2.0
// One file for the whole grammar: the words of a line, and a function per rule.
#include "board/scenario/ScenarioParser.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <iterator>

namespace VelrixBoard {

namespace {

constexpr ScenarioTime DEFAULT_TOLERANCE = std::chrono::milliseconds(50);

// Some editors write it at the beginning of every file.
constexpr std::string_view BYTE_ORDER_MARK = "\xEF\xBB\xBF";

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

// One line of the file, tokenised into words.
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
                words.push_back({TakeQuoted(text, i), begin + 1, true});
            } else {
                while (i < text.size() && !std::strchr(" \t\r#", text[i]))
                    ++i;
                words.push_back({std::string(text.substr(begin, i - begin)), begin + 1, false});
            }
            end = i;
        }
        if (!words.empty())
            whole = text.substr(words.front().column - 1, end - words.front().column + 1);
        Begin();
    }

    bool Empty() const { return words.empty(); }
    const std::string& Text() const { return whole; }
    std::size_t Column() const { return words.front().column; }
    int Number() const { return number; }

    [[noreturn]] void Fail(std::size_t column, const std::string& what) const {
        throw ScenarioError(path + ":" + std::to_string(number) + ":" + std::to_string(column) + ": " + what);
    }

    // The step's action or condition begins at the next word.
    void Begin() { subject = AtEnd() ? end + 1 : words[next].column; }
    std::size_t Subject() const { return subject; }

    bool AtEnd() const { return next == words.size(); }
    bool Is(std::string_view word) const { return !AtEnd() && !words[next].quoted && words[next].text == word; }
    bool Take(std::string_view word) {
        if (!Is(word))
            return false;
        Advance();
        return true;
    }
    // Consumes the word if it is next, and records it as an alternative for error messages.
    bool May(std::string_view word) {
        if (Take(word))
            return true;
        possible.push_back("'" + std::string(word) + "'");
        return false;
    }
    void Need(std::string_view word) {
        if (!Take(word))
            FailHere("'" + std::string(word) + "'");
    }
    const std::string& Peek() const { return words[next].text; }
    std::string Any(const std::string& expected) {
        if (AtEnd())
            FailHere(expected);
        return words[Advance()].text;
    }
    std::string OneOf(const std::vector<std::string>& allowed) {
        if (AtEnd() || std::find(allowed.begin(), allowed.end(), Peek()) == allowed.end())
            FailHere(Join(allowed));
        return words[Advance()].text;
    }
    ScenarioTime Time(ScenarioTime least = ScenarioTime(0)) {
        const auto time = AtEnd() ? std::nullopt : ParseTime(Peek());
        if (!time)
            FailHere("a time such as 500ms or 2s");
        if (*time < least)
            FailHere("a time of at least " + TextOf(least));
        Advance();
        return *time;
    }
    bool High() { return OneOf({"high", "low"}) == "high"; }
    int Signal() {
        const auto signal = AtEnd() ? std::nullopt : SignalNumber(Peek());
        if (!signal)
            FailHere("a signal such as TERM or KILL");
        Advance();
        return *signal;
    }

    void NeedEnd() const {
        std::vector<std::string> expected = possible;
        expected.push_back("the end of the line");
        if (!AtEnd())
            FailHere(Join(expected));
    }

    [[noreturn]] void FailHere(const std::string& expected) const {
        if (AtEnd())
            Fail(end + 1, "expected " + expected + ", found the end of the line");
        Fail(words[next].column, "expected " + expected + ", found '" + words[next].text + "'");
    }

private:
    std::size_t Advance() {
        possible.clear();
        return next++;
    }

    // The quoted text at i; moves i past it.
    std::string TakeQuoted(std::string_view text, std::size_t& i) const {
        const std::size_t begin = i + 1;
        std::string content;
        for (++i; i < text.size(); ++i) {
            if (text[i] == '"') {
                ++i;
                return content;
            }
            if (text[i] == '\\') {
                const std::size_t escape = i++;
                if (i == text.size())
                    break;
                if (text[i] != '"' && text[i] != '\\')
                    Fail(escape + 1,
                         "expected \\\" or \\\\ in quotes, found '" + std::string(text.substr(escape, 2)) + "'");
            }
            content += text[i];
        }
        Fail(begin, "the quotes that begin here do not end in this line");
    }

    const std::string& path;
    const int number;
    std::vector<Word> words;
    std::size_t next = 0;
    std::size_t end = 0;
    std::size_t subject = 1;
    std::string whole;
    std::vector<std::string> possible; // alternatives at next
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
        line.Begin();
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

    Condition ParseCondition(Line& line) const {
        line.Begin();
        if (line.Take("program")) {
            if (line.OneOf({"exits", "is"}) == "exits") {
                line.Need("with");
                return ProgramEnd{ProgramEnd::How::EXIT, ParseExitCode(line)};
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

    [[noreturn]] void FailWithSubjects(const Line& line) const {
        std::vector<std::string> subjects;
        for (const auto& led : names.leds)
            subjects.push_back(led.name);
        subjects.insert(subjects.end(), lines.begin(), lines.end());
        subjects.insert(subjects.end(), {"program", "web log", "system log", "reboot"});
        line.FailHere(Join(subjects));
    }

    static int ParseExitCode(Line& line) {
        const std::string text = line.AtEnd() ? "" : line.Peek();
        std::uint8_t code = 0;
        const auto [rest, error] = std::from_chars(text.data(), text.data() + text.size(), code);
        if (error != std::errc() || rest != text.data() + text.size())
            line.FailHere("an exit code from 0 to 255");
        line.Any("");
        return code;
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
    static std::string ParseColor(Line& line, const std::vector<std::string>& allowed,
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
        line.FailHere(Join(possible));
    }

    static Condition ParseLed(Line& line, const ScenarioNames::Led& led) {
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
        const std::vector<std::string> keywords = {"steady", "flashing", "toggling"};
        return LedIs{led.name, ParseColor(line, colors, steady ? std::vector<std::string>() : keywords), steady};
    }

    static LedAlternates ParseAlternation(Line& line, const std::string& led, const std::string& first,
                                          const std::string& second) {
        const ScenarioTime firstTime = line.Time();
        const ScenarioTime secondTime = line.Time();
        const ScenarioTime tolerance = line.May("tolerance") ? line.Time() : DEFAULT_TOLERANCE;
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
    void Add(const Line& line, const Step& step) {
        if (const auto* wait = std::get_if<Wait>(&step.what))
            earliest += wait->length;
        const auto* action = std::get_if<Do>(&step.what);
        if (!action || !action->at)
            return;
        if (*action->at < earliest)
            line.Fail(line.Column(), "is always late: the steps above take until " + TextOf(earliest) +
                                         "; steps run in order, so put it above them");
        earliest = *action->at;
    }

private:
    ScenarioTime earliest{0};
};

} // namespace

Scenario ParseScenario(const std::string& path, std::string_view text, const ScenarioNames& names) {
    Scenario scenario{path, {}};
    const Parser parser(names);
    Order order;
    if (text.starts_with(BYTE_ORDER_MARK))
        text.remove_prefix(BYTE_ORDER_MARK.size());
    int number = 0;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        Line line(scenario.path, ++number, text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
        if (line.Empty())
            continue;
        auto what = parser.ParseStep(line);
        line.NeedEnd();
        scenario.steps.push_back({line.Number(), line.Text(), std::move(what), line.Subject()});
        order.Add(line, scenario.steps.back());
    }
    if (scenario.steps.empty())
        throw ScenarioError(path + ": has no steps; write one a line, such as \"within 2s program exits with 0\"");
    return scenario;
}

Scenario ReadScenario(const std::string& path, const ScenarioNames& names) {
    const auto fail = [&path](const std::string& reason) {
        throw ScenarioError("cannot read the scenario " + path + ": " + reason +
                            "; give a text file with a step a line");
    };
    std::ifstream input(path);
    if (!input)
        fail(std::strerror(errno));
    std::string text;
    try { // a directory can be opened, but not read
        text.assign(std::istreambuf_iterator<char>(input), {});
    } catch (const std::ios_base::failure& error) {
        fail(error.code().message());
    }
    return ParseScenario(path, text, names);
}

} // namespace VelrixBoard
