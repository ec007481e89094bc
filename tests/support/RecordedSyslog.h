// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace TestSupport {

// A test program that uses this variable replaces openlog, closelog and syslog, so that nothing reaches the machine's
// log. Calls are appended here, one per line: "open NAME OPTIONS FACILITY", "close", and "FACILITY.SEVERITY TEXT" with
// numbers. Reserve memory in this string to avoid allocations.
extern std::string syslogCalls;

// The calls since the last Take.
std::string TakeSyslogCalls();

} // namespace TestSupport
