// SPDX-License-Identifier: Apache-2.0
#include "tests/support/RecordedSyslog.h"

#include <cstdarg>
#include <cstdio>
#include <utility>

#include <syslog.h>

namespace TestSupport {

std::string syslogCalls;

std::string TakeSyslogCalls() {
    return std::exchange(syslogCalls, std::string());
}

namespace {

void NoteEvent(int priority, const char* format, va_list arguments) {
    char numbers[40], text[500];
    std::snprintf(numbers, sizeof numbers, "%d.%d ", priority & LOG_FACMASK, LOG_PRI(priority));
    std::vsnprintf(text, sizeof text, format, arguments);
    syslogCalls.append(numbers).append(text).append("\n");
}

} // namespace

} // namespace TestSupport

using namespace TestSupport;

extern "C" void openlog(const char* identity, int options, int facility) {
    char numbers[40];
    std::snprintf(numbers, sizeof numbers, " %d %d\n", options, facility);
    syslogCalls.append("open ").append(identity).append(numbers);
}

extern "C" void closelog() {
    syslogCalls.append("close\n");
}

extern "C" void syslog(int priority, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    NoteEvent(priority, format, arguments);
    va_end(arguments);
}

// The _FORTIFY_SOURCE variant of syslog.
extern "C" void __syslog_chk(int priority, int, const char* format, ...);
extern "C" void __syslog_chk(int priority, int, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    NoteEvent(priority, format, arguments);
    va_end(arguments);
}
