// SPDX-License-Identifier: Apache-2.0
#include "board/scenario/Scenario.h"

#include <csignal>
#include <cstring>

namespace VelrixBoard {

namespace {

// In the scenario's syntax.
std::string Quoted(const std::string& text) {
    std::string quoted = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\')
            quoted += '\\';
        quoted += c;
    }
    return quoted + '"';
}

} // namespace

std::vector<const Condition*> ConditionsOf(const Step& step) {
    std::vector<const Condition*> conditions;
    if (const auto* await = std::get_if<Await>(&step.what))
        conditions.push_back(&await->condition);
    if (const auto* when = std::get_if<When>(&step.what); when && when->condition)
        conditions.push_back(&*when->condition);
    if (const auto* never = std::get_if<Never>(&step.what))
        for (const Condition& condition : never->conditions)
            conditions.push_back(&condition);
    return conditions;
}

const Action* ActionOf(const Step& step) {
    const auto* action = std::get_if<Do>(&step.what);
    const auto* when = std::get_if<When>(&step.what);
    return action ? &action->action : when ? &when->action : nullptr;
}

std::string TextOf(const Condition& condition) {
    const ForEachKind text{
        [](const LedIs& c) { return c.led + " is " + (c.steady ? "steady " : "") + (c.other ? "not " : "") + c.color; },
        [](const LedAlternates& c) {
            return c.led + " is " +
                   (c.second == "off" ? "flashing " + c.first : "toggling " + c.first + " " + c.second) + " " +
                   TextOf(c.firstTime) + " " + TextOf(c.secondTime) +
                   (c.tolerance ? " tolerance " + TextOf(*c.tolerance) : "");
        },
        [](const LineIs& c) { return c.line + " is " + (c.high ? "high" : "low"); },
        [](const ProgramEnd& c) {
            return c.how == ProgramEnd::How::EXIT ? "program exits with " + std::to_string(c.number)
                                                  : "program is killed by " + std::string(sigabbrev_np(c.number));
        },
        [](const ProgramEnds&) { return std::string("program ends"); },
        [](const LogHas& c) {
            constexpr const char* NAMES[] = {"web log", "system log", "stdout", "stderr"};
            return NAMES[static_cast<int>(c.log)] + std::string(" has ") + Quoted(c.text);
        },
        [](const RebootIsCalled&) { return std::string("reboot is called"); }};
    return std::visit(text, condition);
}

std::string TextOf(const std::vector<Condition>& conditions) {
    std::string text;
    for (const Condition& condition : conditions)
        text += (text.empty() ? "" : " and ") + TextOf(condition);
    return text;
}

std::optional<int> SignalNumber(const std::string& name) {
    const std::string bare = name.rfind("SIG", 0) == 0 ? name.substr(3) : name;
    for (int number = 1; number < NSIG; ++number) {
        const char* const known = sigabbrev_np(number);
        if (known && bare == known)
            return number;
    }
    return std::nullopt;
}

} // namespace VelrixBoard
