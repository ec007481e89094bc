// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

#include "board/model/Fault.h"
#include "board/timeline/Timeline.h"

namespace VelrixBoard {

// Time since the program was started, and lengths of time.
using ScenarioTime = TimelineTime;

// What a scenario may be about: the names of one board.
struct ScenarioNames {
    struct Led {
        std::string name;
        std::vector<std::string> colors;
    };
    std::vector<Led> leds;
    std::vector<std::string> inputs;
    std::vector<std::string> outputs;
};

// An LED shows a colour at this moment: "off", one element alone, or several that are lit together, as LedHistory names
// them; steady: and has done so for longer than any pattern keeps one.
struct LedIs {
    std::string led;
    std::string color;
    bool steady;
};

// An LED alternates between two colours ("off" for flashing), each phase lasting its time, give or take the tolerance.
struct LedAlternates {
    std::string led;
    std::string first;
    std::string second;
    ScenarioTime firstTime;
    ScenarioTime secondTime;
    ScenarioTime tolerance;
};

struct LineIs {
    std::string line;
    bool high;
};

// The program ended by itself with that code, or by that signal.
struct ProgramExits {
    int code;
};
struct ProgramIsKilled {
    int signal;
};

// A line of the web log, or a record of the system log, that contains the text.
struct WebLogHas {
    std::string text;
};
struct SystemLogHas {
    std::string text;
};

struct RebootIsCalled {};

using Condition =
    std::variant<LedIs, LedAlternates, LineIs, ProgramExits, ProgramIsKilled, WebLogHas, SystemLogHas, RebootIsCalled>;

// What can be done to the board.
struct SetInput {
    std::string line;
    bool high;
};
struct InjectFault {
    std::string signal;         // a line or an LED element, "NS.red"
    std::optional<Fault> fault; // nothing: the file is made whole
};
struct SendSignal {
    int signal;
};

using Action = std::variant<SetInput, InjectFault, SendSignal>;

// The kinds of steps. Do and Await stand in a row: each begins when the one before it is done.
struct Do {
    std::optional<ScenarioTime> at; // since the program's start; nothing: at once
    Action action;
};
struct Await {
    ScenarioTime within; // since the step before was done
    Condition condition;
};
struct Wait {
    ScenarioTime length;
};
// Must not be so at any time of the run.
struct Never {
    Condition condition;
};
// In all of the run the line has such a pulse at least once, and every such pulse lasts as long as it should.
struct Pulses {
    std::string line;
    bool high;
    std::optional<ScenarioTime> atLeast;
    std::optional<ScenarioTime> atMost;
};

struct Step {
    int line;         // of the file, from 1
    std::string text; // as it stands there, without the comment
    std::variant<Do, Await, Wait, Never, Pulses> what;
    std::size_t column = 1; // where the action or the condition begins, or else the step
};

struct Scenario {
    std::string path;
    std::vector<Step> steps;
};

// The text of a scenario is wrong: "FILE:LINE:COLUMN: what was expected and what stands there".
class ScenarioError final : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// "MS is steady green", "the program exits with 0": for messages.
std::string TextOf(const Condition& condition);

// The number of a signal's name, with or without "SIG"; nothing for an unknown one.
std::optional<int> SignalNumber(const std::string& name);

} // namespace VelrixBoard
