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

// A text for each kind of condition.
struct ConditionText {
    std::string operator()(const LedIs& c) const { return c.led + " is " + (c.steady ? "steady " : "") + c.color; }
    std::string operator()(const LedAlternates& c) const {
        return c.led + " is " + (c.second == "off" ? "flashing " + c.first : "toggling " + c.first + " " + c.second) +
               " " + TextOf(c.firstTime) + " " + TextOf(c.secondTime) + " tolerance " + TextOf(c.tolerance);
    }
    std::string operator()(const LineIs& c) const { return c.line + " is " + (c.high ? "high" : "low"); }
    std::string operator()(const ProgramExits& c) const { return "program exits with " + std::to_string(c.code); }
    std::string operator()(const ProgramIsKilled& c) const {
        return "program is killed by " + std::string(sigabbrev_np(c.signal));
    }
    std::string operator()(const WebLogHas& c) const { return "web log has " + Quoted(c.text); }
    std::string operator()(const SystemLogHas& c) const { return "system log has " + Quoted(c.text); }
    std::string operator()(const RebootIsCalled&) const { return "reboot is called"; }
};

} // namespace

std::string TextOf(const Condition& condition) {
    return std::visit(ConditionText(), condition);
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
