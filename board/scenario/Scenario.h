// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

#include "board/base/Clock.h"
#include "board/model/Fault.h"
#include "board/timeline/Timeline.h"

namespace VelrixBoard {

// Time since the program was started, and lengths of time.
using ScenarioTime = TimelineTime;

// The names of one board that a scenario may use.
struct ScenarioNames {
    struct Led {
        std::string name;
        std::vector<std::string> colors;
    };
    std::vector<Led> leds;
    std::vector<std::string> inputs;
    std::vector<std::string> outputs;
};

// An LED shows a colour now: "off", one element, or several together, as named by LedHistory; steady: for longer than
// any step of a pattern; other: it shows another colour.
struct LedIs {
    std::string led;
    std::string color;
    bool steady;
    bool other = false;
};

// An LED alternates between two colours ("off" for flashing), each phase within the tolerance of its time; none: that
// of the run.
struct LedAlternates {
    std::string led;
    std::string first;
    std::string second;
    ScenarioTime firstTime;
    ScenarioTime secondTime;
    std::optional<ScenarioTime> tolerance;
};

struct LineIs {
    std::string line;
    bool high;
};

// The program exited with that code, or was killed by that signal.
struct ProgramEnd {
    enum class How { EXIT, KILL };

    How how;
    int number;

    friend bool operator==(const ProgramEnd&, const ProgramEnd&) = default;
};

// The program ended in whatever way.
struct ProgramEnds {};

// A line of the web log, a record of the system log, or what the program printed contains the text.
struct LogHas {
    enum class Log { WEB, SYSTEM, OUTPUT, ERRORS };
    static constexpr std::size_t LOGS = 4;

    Log log;
    std::string text;
};

struct RebootIsCalled {};

using Condition = std::variant<LedIs, LedAlternates, LineIs, ProgramEnd, ProgramEnds, LogHas, RebootIsCalled>;

// A function with an overload for each kind of condition, for std::visit.
template <class... Kinds>
struct ForEachKind : Kinds... {
    using Kinds::operator()...;
};
template <class... Kinds>
ForEachKind(Kinds...) -> ForEachKind<Kinds...>;

// The stimuli.
struct SetInput {
    std::string line;
    bool high;
};
struct InjectFault {
    std::string signal;         // a line or an LED element, "NS.red"
    std::optional<Fault> fault; // nothing: removes the fault
};
struct SendSignal {
    int signal;
};
// Whether a web log that is opened from now on finds its disk full.
struct SetWebLogFull {
    bool isFull;
};
// The module is ready that long after its reset, also after one that has been released already; nothing: never.
struct SetReadyTime {
    std::optional<std::chrono::milliseconds> after;
};
struct SetClock {
    WallClockChange change;
};

using Action = std::variant<SetInput, InjectFault, SetWebLogFull, SendSignal, SetReadyTime, SetClock>;

// The kinds of steps. Do and Await run in sequence: each begins when the previous one is done.
struct Do {
    std::optional<ScenarioTime> at; // since the program's start; nothing: at once
    Action action;
};
struct Await {
    ScenarioTime within; // since the previous step was done
    Condition condition;
};
struct Wait {
    ScenarioTime length;
};
// Acts once, that long after the condition has become true, which it was not before; beside the steps in sequence, and
// no failure if that does not happen.
struct When {
    std::optional<Condition> condition; // nothing: the program's start
    ScenarioTime after;
    Action action;
};
// Must not be true at any time of the run, all of them at once.
struct Never {
    std::vector<Condition> conditions;
};
// The run has at least one such pulse of the line, and every one has the length.
struct Pulses {
    std::string line;
    bool high;
    std::optional<ScenarioTime> atLeast;
    std::optional<ScenarioTime> atMost;
};

struct Step {
    int line;         // of the file, from 1
    std::string text; // verbatim, without the comment
    std::variant<Do, Await, Wait, When, Never, Pulses> what;
    std::size_t column = 1; // where the action or the condition begins, or else the step
    std::string file{};     // the scenario's, or one that it includes
    std::string round{};    // "2 of 5" in a repeat; otherwise empty
};

struct Scenario {
    std::string path;
    std::vector<Step> steps;
};

// A syntax error in a scenario: "FILE:LINE:COLUMN: expected and actual text".
class ScenarioError final : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// The conditions of an Await, a When or a Never; empty for other steps.
std::vector<const Condition*> ConditionsOf(const Step& step);

// The action of a Do or a When; null for other steps.
const Action* ActionOf(const Step& step);

// "MS is steady green", "the program exits with 0": for messages.
std::string TextOf(const Condition& condition);
std::string TextOf(const std::vector<Condition>& conditions);

// The number of a signal, by its name with or without "SIG"; nothing for an unknown one.
std::optional<int> SignalNumber(const std::string& name);

} // namespace VelrixBoard
