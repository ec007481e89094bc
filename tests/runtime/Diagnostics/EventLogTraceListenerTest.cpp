// SPDX-License-Identifier: Apache-2.0
#include <System/Diagnostics/EventLogTraceListener.h>

#include <cstdarg>
#include <cstdio>
#include <string>

#include <syslog.h>

#include <gtest/gtest.h>

#include <System/Diagnostics/Process.h>
#include <System/Exceptions.h>

#include "tests/support/AllocationFailure.h"
#include "tests/support/ExpectException.h"

// In front of the C library's functions, so that nothing reaches the log of the machine.

namespace {

std::string calls;

void NoteEvent(int priority, const char* format, va_list arguments) {
    char text[500];
    std::vsnprintf(text, sizeof text, format, arguments);
    calls += std::to_string(priority) + " " + text + "\n";
}

} // namespace

extern "C" void openlog(const char* identity, int options, int facility) {
    calls += "open " + std::string(identity) + " " + std::to_string(options) + " " + std::to_string(facility) + "\n";
}

extern "C" void closelog() {
    calls += "close\n";
}

extern "C" void syslog(int priority, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    NoteEvent(priority, format, arguments);
    va_end(arguments);
}

// What syslog becomes in a build with _FORTIFY_SOURCE.
extern "C" void __syslog_chk(int priority, int, const char* format, ...);
extern "C" void __syslog_chk(int priority, int, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    NoteEvent(priority, format, arguments);
    va_end(arguments);
}

namespace {

using namespace System;
using namespace System::Diagnostics;
using TestSupport::ExpectException;

std::string TakeCalls() {
    return std::exchange(calls, std::string());
}

TEST(EventLogTraceListener, TakesEveryFacilityThatHasAName) {
    int taken = 0;

    for (int facility = -300; facility <= 300; ++facility) {
        try {
            EventLogTraceListener::Create(facility);
            EXPECT_EQ(facility % 8, 0) << facility;
            EXPECT_TRUE((facility >= LOG_KERN && facility <= LOG_FTP) ||
                        (facility >= LOG_LOCAL0 && facility <= LOG_LOCAL7))
                << facility;
            ++taken;
        } catch (const ArgumentOutOfRangeException& exception) {
            EXPECT_EQ(exception.ParamName(), "facility");
        }
    }

    EXPECT_EQ(taken, 12 + 8);
    EXPECT_THROW(EventLogTraceListener::Create(LOG_LOCAL0 | 1 << 20), ArgumentOutOfRangeException);
    EXPECT_THROW(EventLogTraceListener::Create(LOG_USER | LOG_ERR), ArgumentOutOfRangeException);
    TakeCalls();
}

TEST(EventLogTraceListener, OpensTheLogWithTheProcesssNameAndId) {
    EventLogTraceListener::Create(LOG_LOCAL3);

    EXPECT_EQ(TakeCalls(), "open " + Process::CURRENT_PROCESS->ProcessName()->ToUtf8() + " " + std::to_string(LOG_PID) +
                               " " + std::to_string(LOG_USER) + "\n");
}

TEST(EventLogTraceListener, SendsEveryLevelUnderItsOwnFacility) {
    const auto first = EventLogTraceListener::Create(LOG_LOCAL0);
    const auto second = EventLogTraceListener::Create(LOG_LOCAL7);
    TakeCalls();
    const auto eventArgs = TraceEventArgs::Create();

    for (const auto& type : {TraceEventType::DEBUG, TraceEventType::INFORMATION, TraceEventType::WARNING,
                             TraceEventType::ERROR, TraceEventType::FATAL})
        first->TraceEvent(eventArgs, type, string_ptr("a"));
    second->TraceEvent(eventArgs, TraceEventType::FATAL, string_ptr("b"));
    first->TraceEvent(eventArgs, TraceEventType::FATAL, string_ptr("c"));

    // 16 << 3 and 23 << 3, plus the severities debug 7, info 6, warning 4, err 3, crit 2.
    EXPECT_EQ(TakeCalls(), "135 a\n134 a\n132 a\n131 a\n130 a\n186 b\n130 c\n");
}

TEST(EventLogTraceListener, TakesTheTextForATextAndForOneLine) {
    const auto listener = EventLogTraceListener::Create(LOG_USER);
    TakeCalls();
    const auto eventArgs = TraceEventArgs::Create();
    const struct {
        std::shared_ptr<Object> data;
        const char* sent;
    } rows[] = {
        {string_ptr("100 % %s %n %%"), "100 % %s %n %%"},
        {string_ptr("a\nb\r\t\x1B[31m"), "a\\nb\\r\\t\\x1b[31m"},
        {string_ptr(std::u16string_view(u"a\0b", 3)), "a\\x00b"},
        {string_ptr("C:\\"), "C:\\\\"},
        {string_ptr(u"Gr\u00FC\u00DFe \U0001F600"), "Gr\xC3\xBC\xC3\x9F"
                                                    "e \xF0\x9F\x98\x80"},
        {string_ptr(""), ""},
        {nullptr, ""},
    };

    for (const auto& row : rows) {
        listener->TraceEvent(eventArgs, TraceEventType::DEBUG, row.data);
        EXPECT_EQ(TakeCalls(), "15 " + std::string(row.sent) + "\n");
    }
}

TEST(EventLogTraceListener, TakesAnObjectWithoutAText) {
    class Nothing final : public Object {
        string_ptr ToString() override { return nullptr; }
    };
    const auto listener = EventLogTraceListener::Create(LOG_USER);
    TakeCalls();

    listener->TraceEvent(TraceEventArgs::Create(), TraceEventType::DEBUG, std::make_shared<Nothing>());

    EXPECT_EQ(TakeCalls(), "15 \n");
}

TEST(EventLogTraceListener, LeavesTheSharedLogOpen) {
    const auto listener = EventLogTraceListener::Create(LOG_USER);
    TakeCalls();

    listener->Flush();
    listener->Close();
    listener->TraceEvent(TraceEventArgs::Create(), TraceEventType::ERROR, string_ptr("still here"));

    EXPECT_EQ(TakeCalls(), "11 still here\n");
}

TEST(EventLogTraceListener, SurvivesEveryAllocationFailure) {
    const auto eventArgs = TraceEventArgs::Create();
    const std::shared_ptr<Object> data = string_ptr("a text that is long enough to need memory of its own");
    calls.reserve(10'000);

    EXPECT_GE(TestSupport::FailEachAllocation(
                  [&] { EventLogTraceListener::Create(LOG_USER)->TraceEvent(eventArgs, TraceEventType::ERROR, data); }),
              2);
    TakeCalls();
}

} // namespace
