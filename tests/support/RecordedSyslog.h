// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace TestSupport {

// A test program that names this variable gets the C library's openlog, closelog and syslog, so that nothing reaches
// the log of the machine. Each call is appended here, a line each: "open NAME OPTIONS FACILITY", "close", and
// "FACILITY.SEVERITY TEXT" with numbers. A call needs no memory that is not reserved in this string.
extern std::string syslogCalls;

// What has been called since the last time.
std::string TakeSyslogCalls();

} // namespace TestSupport
