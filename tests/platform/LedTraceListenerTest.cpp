// SPDX-License-Identifier: Apache-2.0
#include <velrix/platform/LedTraceListener.h>

#include <memory>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include <System/Diagnostics/Trace.h>
#include <System/Exceptions.h>
#include <System/Lazy.h>

#include "tests/support/AllocationFailure.h"
#include "tests/support/CallLog.h"
#include "tests/support/FakeLed.h"
#include "tests/support/VirtualSlot.h"

namespace {

using System::string_ptr;
using System::Diagnostics::Trace;
using System::Diagnostics::TraceEventArgs;
using System::Diagnostics::TraceEventType;
using System::Diagnostics::TraceFilter;
using System::Diagnostics::TraceListener;
using System::Diagnostics::TraceOptions;
using TestSupport::CallLog;
using TestSupport::FakeLed;
using Velrix::Gpio::ILed;

const std::string ALL_OFF = "MS Off, NS Off, LINK_ACT1 Off, LINK_ACT2 Off";
const std::string FATAL = "MS Red, NS Red, LINK_ACT1 Off, LINK_ACT2 Off";

struct LedTraceListener : testing::Test {
    std::shared_ptr<Velrix::LedTraceListener> CreateListener() {
        return Velrix::LedTraceListener::Create(ms, ns, link1, link2);
    }

    static void Send(Velrix::LedTraceListener& listener, const std::shared_ptr<TraceEventType>& eventType) {
        listener.TraceEvent(TraceEventArgs::Create(), eventType, string_ptr("text"));
    }

    const std::shared_ptr<CallLog> log = std::make_shared<CallLog>();
    const std::shared_ptr<FakeLed> ms = FakeLed::Create("MS", log);
    const std::shared_ptr<FakeLed> ns = FakeLed::Create("NS", log);
    const std::shared_ptr<FakeLed> link1 = FakeLed::Create("LINK_ACT1", log);
    const std::shared_ptr<FakeLed> link2 = FakeLed::Create("LINK_ACT2", log);
};

TEST_F(LedTraceListener, TouchesNoLedWhenItIsMadeOrDestroyed) {
    CreateListener().reset();

    EXPECT_EQ(log->Take(), "");
}

TEST_F(LedTraceListener, RefusesTheFirstEmptyLedByItsName) {
    const std::shared_ptr<ILed> none;
    const struct {
        std::shared_ptr<ILed> ms, ns, link1, link2;
        const char* name;
    } rows[] = {
        {none, ns, link1, link2, "moduleStatusLed"}, {ms, none, link1, link2, "networkStatusLed"},
        {ms, ns, none, link2, "linkActivity1Led"},   {ms, ns, link1, none, "linkActivity2Led"},
        {none, none, none, none, "moduleStatusLed"}, {ms, none, none, none, "networkStatusLed"},
        {ms, none, link1, none, "networkStatusLed"}, {ms, ns, none, none, "linkActivity1Led"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        try {
            Velrix::LedTraceListener::Create(row.ms, row.ns, row.link1, row.link2);
            ADD_FAILURE() << "no exception";
        } catch (const System::ArgumentNullException& exception) {
            EXPECT_EQ(exception.ParamName(), row.name);
        }
    }
    EXPECT_EQ(log->Take(), "");
}

TEST_F(LedTraceListener, SetsStatusLedsRedAndLinkLedsOffOnFatalEvent) {
    const auto listener = CreateListener();

    Send(*listener, TraceEventType::FATAL);

    EXPECT_EQ(log->Take(), FATAL);
}

TEST_F(LedTraceListener, IgnoresEveryOtherEvent) {
    const auto listener = CreateListener();

    for (const auto& type :
         {TraceEventType::DEBUG, TraceEventType::INFORMATION, TraceEventType::WARNING, TraceEventType::ERROR})
        Send(*listener, type);
    EXPECT_EQ(log->Take(), "");

    listener->ControlLeds();
    EXPECT_EQ(log->Take(), ALL_OFF);
}

TEST_F(LedTraceListener, IgnoresAnEventWithoutAType) {
    const auto listener = CreateListener();

    Send(*listener, nullptr);
    listener->ControlLeds();

    EXPECT_EQ(log->Take(), ALL_OFF);
}

TEST_F(LedTraceListener, LooksAtNeitherArgumentsNorData) {
    const auto listener = CreateListener();

    listener->TraceEvent(nullptr, TraceEventType::FATAL, nullptr);

    EXPECT_EQ(log->Take(), FATAL);
}

TEST_F(LedTraceListener, RepeatsTheFinalStateOnFurtherFatalEvents) {
    const auto listener = CreateListener();
    Send(*listener, TraceEventType::FATAL);
    log->Take();

    Send(*listener, TraceEventType::FATAL);

    EXPECT_EQ(log->Take(), FATAL);
}

TEST_F(LedTraceListener, StaysFatalWhateverTheLedsWereToldMeanwhile) {
    const auto listener = CreateListener();
    Send(*listener, TraceEventType::FATAL);
    ms->Green();
    Send(*listener, TraceEventType::INFORMATION);
    log->Take();

    listener->ControlLeds();
    listener->ControlLeds();

    EXPECT_EQ(log->Take(), FATAL + ", " + FATAL);
}

TEST_F(LedTraceListener, KeepsItsStateToItself) {
    const auto fatal = CreateListener();
    const auto normal = CreateListener();
    Send(*fatal, TraceEventType::FATAL);
    log->Take();

    normal->ControlLeds();

    EXPECT_EQ(log->Take(), ALL_OFF);
}

TEST_F(LedTraceListener, SetsTheFinalStateOnClose) {
    const std::shared_ptr<TraceListener> listener = CreateListener();

    listener->Close();
    EXPECT_EQ(log->Take(), ALL_OFF);

    listener->TraceEvent(TraceEventArgs::Create(), TraceEventType::FATAL, nullptr);
    log->Take();
    listener->Close();
    EXPECT_EQ(log->Take(), FATAL);
}

TEST_F(LedTraceListener, DoesNothingOnFlush) {
    const auto listener = CreateListener();
    Send(*listener, TraceEventType::FATAL);
    log->Take();

    static_cast<TraceListener&>(*listener).Flush();

    EXPECT_EQ(log->Take(), "");
}

TEST_F(LedTraceListener, HasNeitherFilterNorOptions) {
    const auto listener = CreateListener();
    const std::shared_ptr<TraceFilter> noFilter;

    const auto isSilent = [](const System::NotSupportedException& exception) {
        EXPECT_EQ(exception.Message(), "");
        EXPECT_EQ(exception.InnerException(), nullptr);
    };
    try {
        listener->GetFilter();
        ADD_FAILURE() << "GetFilter";
    } catch (const System::NotSupportedException& exception) {
        isSilent(exception);
    }
    try {
        listener->SetFilter(noFilter);
        ADD_FAILURE() << "SetFilter";
    } catch (const System::NotSupportedException& exception) {
        isSilent(exception);
    }
    try {
        listener->Options();
        ADD_FAILURE() << "Options";
    } catch (const System::NotSupportedException& exception) {
        isSilent(exception);
    }
}

TEST_F(LedTraceListener, LetsWhatAnLedThrowsOutAndLeavesTheLedsBehindIt) {
    const auto listener = CreateListener();
    link1->Fails = true;

    try {
        Send(*listener, TraceEventType::FATAL);
        ADD_FAILURE() << "no exception";
    } catch (const System::Exception& exception) {
        EXPECT_EQ(exception.Message(), "LINK_ACT1");
    }
    EXPECT_EQ(log->Take(), "MS Red, NS Red");
}

TEST_F(LedTraceListener, RemembersAFatalEventThatItCouldNotShow) {
    const auto listener = CreateListener();
    ms->Fails = true;
    EXPECT_THROW(Send(*listener, TraceEventType::FATAL), System::Exception);
    EXPECT_EQ(log->Take(), "");

    ms->Fails = false;
    listener->ControlLeds();

    EXPECT_EQ(log->Take(), FATAL);
}

TEST_F(LedTraceListener, ShowsFatalEventsOfAnyThreadOnceItIsAddedToTrace) {
    const auto listener = CreateListener();
    Trace::TraceFatal("before");
    EXPECT_EQ(log->Take(), "");
    Trace::AddListener(listener);

    std::thread([] { Trace::TraceError("an error"); }).join();
    EXPECT_EQ(log->Take(), "");
    std::thread([] { Trace::TraceFatal(System::TimeoutException("a fatal one")); }).join();
    EXPECT_EQ(log->Take(), FATAL);

    Trace::RemoveListener(listener);
    Trace::TraceFatal("after");
    EXPECT_EQ(log->Take(), "");
}

TEST_F(LedTraceListener, SetsTheFinalStateWhenTraceIsClosed) {
    Trace::AddListener(CreateListener());

    Trace::Flush();
    EXPECT_EQ(log->Take(), "");
    Trace::Close();
    EXPECT_EQ(log->Take(), ALL_OFF);
}

TEST_F(LedTraceListener, HoldsItsLedsUntilItIsDestroyed) {
    auto listener = CreateListener();
    for (const auto& led : {ms, ns, link1, link2})
        EXPECT_GT(led.use_count(), 2); // the fixture, this list and the listener

    listener.reset();
    EXPECT_EQ(ms.use_count(), 1);
    EXPECT_EQ(ns.use_count(), 1);
    EXPECT_EQ(link1.use_count(), 1);
    EXPECT_EQ(link2.use_count(), 1);
}

TEST_F(LedTraceListener, HasTheTextOfItsClass) {
    EXPECT_EQ(CreateListener()->ToString(), "Velrix::LedTraceListener");
}

TEST_F(LedTraceListener, KeepsTheOrderOfItsVirtualOperations) {
    EXPECT_EQ(TestSupport::SlotOf(&Velrix::LedTraceListener::Close), 0);
    EXPECT_EQ(TestSupport::SlotOf(&Velrix::LedTraceListener::TraceEvent), 3); // the destructor takes two
    EXPECT_EQ(TestSupport::SlotOf(&Velrix::LedTraceListener::Flush), 4);
}

TEST_F(LedTraceListener, SurvivesEveryAllocationFailure) {
    const auto operation = [this] { Velrix::LedTraceListener::Create(ms, ns, link1, link2)->GetHashCode(); };

    EXPECT_GE(TestSupport::FailEachAllocation(operation), 2); // the listener and its control block

    EXPECT_EQ(ms.use_count(), 1);
    EXPECT_EQ(log->Take(), "");
}

} // namespace
