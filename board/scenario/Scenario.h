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
// any step of a pattern.
struct LedIs {
    std::string led;
    std::string color;
    bool steady;
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

// A line of the web log, a record of the system log, or what the program printed contains the text.
struct LogHas {
    enum class Log { WEB, SYSTEM, OUTPUT, ERRORS };
    static constexpr std::size_t LOGS = 4;

    Log log;
    std::string text;
};

struct RebootIsCalled {};

using Condition = std::variant<LedIs, LedAlternates, LineIs, ProgramEnd, LogHas, RebootIsCalled>;

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
struct SetClock {
    WallClockChange change;
};

using Action = std::variant<SetInput, InjectFault, SendSignal, SetClock>;

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
// Must not be true at any time of the run.
struct Never {
    Condition condition;
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
    std::variant<Do, Await, Wait, Never, Pulses> what;
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

// The condition of an Await or Never; null for other steps.
const Condition* ConditionOf(const Step& step);

// "MS is steady green", "the program exits with 0": for messages.
std::string TextOf(const Condition& condition);

// The number of a signal, by its name with or without "SIG"; nothing for an unknown one.
std::optional<int> SignalNumber(const std::string& name);

} // namespace VelrixBoard
