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

const Condition* ConditionOf(const Step& step) {
    const auto* await = std::get_if<Await>(&step.what);
    const auto* never = std::get_if<Never>(&step.what);
    return await ? &await->condition : never ? &never->condition : nullptr;
}

std::string TextOf(const Condition& condition) {
    const ForEachKind text{
        [](const LedIs& c) { return c.led + " is " + (c.steady ? "steady " : "") + c.color; },
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
        [](const LogHas& c) {
            constexpr const char* NAMES[] = {"web log", "system log", "stdout", "stderr"};
            return NAMES[static_cast<int>(c.log)] + std::string(" has ") + Quoted(c.text);
        },
        [](const RebootIsCalled&) { return std::string("reboot is called"); }};
    return std::visit(text, condition);
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
