// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <string_view>

#include "board/scenario/Scenario.h"

namespace VelrixBoard {

// Parses a scenario, one line after the other:
//
//     line      = step | "include" FILE | "repeat" NUMBER | "end"
//     step      = "at" TIME action | action | "within" TIME condition | "wait" TIME
//               | "never" condition { "and" condition }
//               | "when" ( "program" "starts" | condition ) [ "after" TIME ] action
//               | "expect" LINE "pulses" ( "low" | "high" ) [ "for" ( "at least" | "at most" ) TIME [ "and at most"
//               TIME ] ]
//     action    = "set" INPUT ( "high" | "low" ) | "set" "clock" ( DATE | ( "forward" | "back" ) TIME )
//               | "fault" ( SIGNAL FAULT | "web" "log" ( "ENOSPC" | "none" ) ) | "send" SIGNALNAME
//               | "module" "ready" ( "after" TIME | "never" )
//     condition = LED "is" [ "steady" | "not" ] COLOR
//               | LED "is" "flashing" COLOR TIME TIME [ "tolerance" TIME ]
//               | LED "is" "toggling" COLOR COLOR TIME TIME [ "tolerance" TIME ]
//               | LINE "is" ( "high" | "low" )
//               | "program" ( "ends" | "exits" "with" NUMBER | "is" "killed" "by" SIGNALNAME )
//               | ( "web" "log" | "system" "log" | "stdout" | "stderr" ) "has" TEXT | "reboot" "is" "called"
//     TIME      = digits, a point and digits if need be, and "us", "ms", "s", "min", "h" or "d", without a blank
//     DATE      = as 2038-01-19T03:14:00Z
//     COLOR     = an element's colour, which is lit alone, or colours joined by "+", which are lit together; where the
//                 LED neither flashes nor toggles "off" as well
//     TEXT      = a word, or anything in double quotes, where \" is a quote and \\ a backslash
//     FAULT     = "EIO" | "ENOSPC" | "EACCES" | "slow:" TIME | "missing" | "none"; no "ENOSPC" for an input
//
// "#" begins a comment; blank lines are skipped, as is a byte order mark. "at most" is no shorter than "at least", and
// an LED toggles between two different colours. What repeat and include mean, and their limits, is in ScenarioSource.h;
// "at", "when", "never" and "expect" are not repeated. Throws ScenarioError with file, line, column and the valid
// alternatives.
Scenario ParseScenario(const std::string& path, std::string_view text, const ScenarioNames& names);

// The same from a file. An unreadable file: ScenarioError.
Scenario ReadScenario(const std::string& path, const ScenarioNames& names);

} // namespace VelrixBoard
