// SPDX-License-Identifier: Apache-2.0
#include <System/Diagnostics/EventLogTraceListener.h>

#include <string>

#include <syslog.h>

#include <gtest/gtest.h>

#include <System/Diagnostics/Process.h>
#include <System/Exceptions.h>

#include "tests/support/AllocationFailure.h"
#include "tests/support/ExpectException.h"
#include "tests/support/RecordedSyslog.h"

namespace {

using namespace System;
using namespace System::Diagnostics;
using TestSupport::ExpectException;
using TestSupport::syslogCalls;
using TestSupport::TakeSyslogCalls;

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
    TakeSyslogCalls();
}

TEST(EventLogTraceListener, OpensTheLogWithTheProcesssNameAndId) {
    EventLogTraceListener::Create(LOG_LOCAL3);

    EXPECT_EQ(TakeSyslogCalls(), "open " + Process::CURRENT_PROCESS->ProcessName()->ToUtf8() + " " +
                                     std::to_string(LOG_PID) + " " + std::to_string(LOG_USER) + "\n");
}

TEST(EventLogTraceListener, SendsEveryLevelUnderItsOwnFacility) {
    const auto first = EventLogTraceListener::Create(LOG_LOCAL0);
    const auto second = EventLogTraceListener::Create(LOG_LOCAL7);
    TakeSyslogCalls();
    const auto eventArgs = TraceEventArgs::Create();

    for (const auto& type : {TraceEventType::DEBUG, TraceEventType::INFORMATION, TraceEventType::WARNING,
                             TraceEventType::ERROR, TraceEventType::FATAL})
        first->TraceEvent(eventArgs, type, string_ptr("a"));
    second->TraceEvent(eventArgs, TraceEventType::FATAL, string_ptr("b"));
    first->TraceEvent(eventArgs, TraceEventType::FATAL, string_ptr("c"));

    // 16 << 3 and 23 << 3; the severities debug 7, info 6, warning 4, err 3, crit 2.
    EXPECT_EQ(TakeSyslogCalls(), "128.7 a\n128.6 a\n128.4 a\n128.3 a\n128.2 a\n184.2 b\n128.2 c\n");
}

TEST(EventLogTraceListener, TakesTheTextForATextAndForOneLine) {
    const auto listener = EventLogTraceListener::Create(LOG_USER);
    TakeSyslogCalls();
    const auto eventArgs = TraceEventArgs::Create();
    const struct {
        std::shared_ptr<Object> data;
        const char* sent;
    } rows[] = {
        {string_ptr("100 % %s %n %%"), "100 % %s %n %%"},
        {string_ptr("a\nb\r\x1B[31m"), "a\\nb\\r\\x1b[31m"},
        {string_ptr("C:\\new\ttable"), "C:\\new\ttable"},
        {string_ptr(std::u16string_view(u"a\0b", 3)), "a\\x00b"},
        {string_ptr("C:\\"), "C:\\"},
        {string_ptr(u"Gr\u00FC\u00DFe \U0001F600"), "Gr\xC3\xBC\xC3\x9F"
                                                    "e \xF0\x9F\x98\x80"},
        {string_ptr(""), ""},
        {nullptr, ""},
    };

    for (const auto& row : rows) {
        listener->TraceEvent(eventArgs, TraceEventType::DEBUG, row.data);
        EXPECT_EQ(TakeSyslogCalls(), "8.7 " + std::string(row.sent) + "\n");
    }
}

TEST(EventLogTraceListener, TakesAnObjectWithoutAText) {
    class Nothing final : public Object {
        string_ptr ToString() override { return nullptr; }
    };
    const auto listener = EventLogTraceListener::Create(LOG_USER);
    TakeSyslogCalls();

    listener->TraceEvent(TraceEventArgs::Create(), TraceEventType::DEBUG, std::make_shared<Nothing>());

    EXPECT_EQ(TakeSyslogCalls(), "8.7 \n");
}

TEST(EventLogTraceListener, NeedsAnEventAndItsType) {
    const auto listener = EventLogTraceListener::Create(LOG_USER);
    const auto eventArgs = TraceEventArgs::Create();
    TakeSyslogCalls();

    ExpectException<ArgumentNullException>("The argument \"eventArgs\" must not be null", [&] {
        listener->TraceEvent(nullptr, TraceEventType::DEBUG, string_ptr("text"));
    });
    ExpectException<ArgumentNullException>("The argument \"eventType\" must not be null",
                                           [&] { listener->TraceEvent(eventArgs, nullptr, string_ptr("text")); });
    EXPECT_EQ(TakeSyslogCalls(), "");
}

TEST(EventLogTraceListener, LeavesTheSharedLogOpen) {
    const auto listener = EventLogTraceListener::Create(LOG_USER);
    TakeSyslogCalls();

    listener->Flush();
    listener->Close();
    listener->TraceEvent(TraceEventArgs::Create(), TraceEventType::ERROR, string_ptr("still here"));

    EXPECT_EQ(TakeSyslogCalls(), "8.3 still here\n");
}

TEST(EventLogTraceListener, SurvivesEveryAllocationFailure) {
    const auto eventArgs = TraceEventArgs::Create();
    const std::shared_ptr<Object> data = string_ptr("a text that is long enough to need memory of its own");
    syslogCalls.reserve(10'000);

    EXPECT_GE(TestSupport::FailEachAllocation(
                  [&] { EventLogTraceListener::Create(LOG_USER)->TraceEvent(eventArgs, TraceEventType::ERROR, data); }),
              2);
    TakeSyslogCalls();
}

} // namespace
