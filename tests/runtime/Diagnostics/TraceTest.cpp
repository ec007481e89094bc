// SPDX-License-Identifier: Apache-2.0
#include <System/Diagnostics/Trace.h>

#include <atomic>
#include <functional>
#include <memory>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <System/Diagnostics/TraceEventTypeFilter.h>
#include <System/Exceptions.h>

#include "tests/support/AllocationFailure.h"
#include "tests/support/CallLog.h"
#include "tests/support/CapturedStandardError.h"
#include "tests/support/ExpectException.h"
#include "tests/support/FailingSystemCalls.h"
#include "tests/support/FakeClock.h"
#include "tests/support/RecordingListener.h"

using namespace System;
using namespace System::Diagnostics;
using TestSupport::AllocationFailure;
using TestSupport::CallLog;
using TestSupport::CapturedStandardError;
using TestSupport::ExpectException;
using TestSupport::FakeClock;
using TestSupport::RecordingListener;

// Not in an unnamed namespace: the tests check the name of the class.
namespace Device {

// Runs the test's functions.
class ScriptedListener final : public TraceListener {
public:
    using Event = std::function<void(const std::shared_ptr<TraceEventArgs>&, const std::shared_ptr<TraceEventType>&,
                                     const std::shared_ptr<Object>&)>;

    explicit ScriptedListener(Event ownOnEvent) : onEvent(std::move(ownOnEvent)) {}
    ~ScriptedListener() override {
        if (onDestruction)
            onDestruction();
    }

    void Close() override {
        if (onClose)
            onClose();
    }
    void TraceEvent(std::shared_ptr<TraceEventArgs> eventArgs, std::shared_ptr<TraceEventType> eventType,
                    std::shared_ptr<Object> data) override {
        onEvent(eventArgs, eventType, data);
    }
    void Flush() override {
        if (onFlush)
            onFlush();
    }

    Event onEvent;
    std::function<void()> onClose, onFlush, onDestruction;
};

class ScriptedFilter final : public TraceFilter {
public:
    explicit ScriptedFilter(std::function<bool(const std::shared_ptr<TraceEventType>&)> ownOnAsk)
        : onAsk(std::move(ownOnAsk)) {}

    bool ShouldTrace(const std::shared_ptr<TraceEventType>& eventType) override { return onAsk(eventType); }

    std::function<bool(const std::shared_ptr<TraceEventType>&)> onAsk;
};

class Reading final : public Object {
public:
    explicit Reading(string_ptr ownText) : text(std::move(ownText)) {}

    string_ptr ToString() override {
        ++asked;
        return text;
    }

    string_ptr text;
    int asked = 0;
};

} // namespace Device

namespace {

using Device::Reading;
using Device::ScriptedFilter;
using Device::ScriptedListener;

// Starts and ends without listeners.
class TraceTest : public testing::Test {
protected:
    ~TraceTest() override {
        Trace::Close();
        EXPECT_TRUE(Trace::Listeners().empty());
    }

    template <class OnEvent>
    static std::shared_ptr<ScriptedListener> Add(OnEvent onEvent) {
        auto listener =
            std::make_shared<ScriptedListener>([onEvent](const auto& eventArgs, const auto& eventType,
                                                         const auto& data) { onEvent(eventArgs, eventType, data); });
        Trace::AddListener(listener);
        return listener;
    }

    // Writes every event into the log under a name.
    std::shared_ptr<ScriptedListener> AddLogging(const std::string& name) {
        return Add([this, name](const auto&, const auto& eventType, const auto& data) {
            log.Add(name + " " + eventType->Name()->ToUtf8() + " " +
                    (data ? data->ToString()->ToUtf8() : std::string("null")));
        });
    }

    static std::shared_ptr<ScriptedListener> AddThrowing(std::function<void()> action) {
        return Add([action](const auto&, const auto&, const auto&) { action(); });
    }

    CallLog log;
};

TEST_F(TraceTest, PassesEveryLevelOfTextsObjectsAndExceptions) {
    const auto listener = RecordingListener::Create();
    Trace::AddListener(listener);
    const auto reading = std::make_shared<Reading>("7 V");
    const std::shared_ptr<Object> object = reading;
    const string_ptr text = "text";
    const FormatException exception("bad");

    Trace::TraceDebug("a");
    Trace::TraceDebug(object);
    Trace::TraceDebug(exception);
    Trace::TraceInformation(text);
    Trace::TraceInformation(reading);
    Trace::TraceInformation(exception);
    Trace::TraceWarning("b");
    Trace::TraceWarning(object);
    Trace::TraceWarning(exception);
    Trace::TraceError("c");
    Trace::TraceError(object);
    Trace::TraceError(exception);
    Trace::TraceFatal("d");
    Trace::TraceFatal(object);
    Trace::TraceFatal(ArgumentException("worse", std::make_shared<FormatException>("bad")));

    EXPECT_EQ(listener->Log(), "DEBUG a, DEBUG 7 V, DEBUG System::FormatException: bad, "
                               "INFORMATION text, INFORMATION 7 V, INFORMATION System::FormatException: bad, "
                               "WARNING b, WARNING 7 V, WARNING System::FormatException: bad, "
                               "ERROR c, ERROR 7 V, ERROR System::FormatException: bad, "
                               "FATAL d, FATAL 7 V, "
                               "FATAL System::ArgumentException: worse ---> System::FormatException: bad");
}

TEST_F(TraceTest, PassesTheVeryObjects) {
    const auto reading = std::make_shared<Reading>("7 V");
    std::shared_ptr<Object> seenData;
    std::shared_ptr<TraceEventType> seenType;
    Add([&](const auto&, const auto& eventType, const auto& data) {
        seenType = eventType;
        seenData = data;
    });

    Trace::TraceWarning(reading);
    EXPECT_EQ(seenData, reading);
    EXPECT_EQ(seenType, TraceEventType::WARNING);
    EXPECT_EQ(reading->asked, 0);

    const string_ptr text = "text";
    Trace::TraceFatal(text);
    EXPECT_EQ(seenData, std::shared_ptr<Object>(text));
    EXPECT_EQ(seenType, TraceEventType::FATAL);
}

TEST_F(TraceTest, PassesNullOn) {
    AddLogging("a");

    Trace::TraceError(string_ptr());
    Trace::TraceError(std::shared_ptr<Object>());

    EXPECT_EQ(log.Take(), "a ERROR null, a ERROR null");
}

TEST_F(TraceTest, TakesNullptrForAnEmptyTextAtEveryLevel) {
    AddLogging("a");

    Trace::TraceDebug(nullptr);
    Trace::TraceInformation(nullptr);
    Trace::TraceWarning(nullptr);
    Trace::TraceError(nullptr);
    Trace::TraceFatal(nullptr);

    EXPECT_EQ(log.Take(), "a DEBUG , a INFORMATION , a WARNING , a ERROR , a FATAL ");
}

TEST_F(TraceTest, CallsListenersInTheOrderOfAdding) {
    const auto a = AddLogging("a");
    const auto b = AddLogging("b");
    Trace::AddListener(a);

    Trace::TraceDebug("x");
    EXPECT_EQ(log.Take(), "a DEBUG x, b DEBUG x, a DEBUG x");
    EXPECT_EQ(Trace::Listeners(), (std::vector<std::shared_ptr<TraceListener>>{a, b, a}));

    Trace::RemoveListener(a);
    Trace::TraceDebug("y");
    EXPECT_EQ(log.Take(), "b DEBUG y, a DEBUG y");
    EXPECT_EQ(Trace::Listeners(), (std::vector<std::shared_ptr<TraceListener>>{b, a}));

    Trace::RemoveListener(a);
    Trace::RemoveListener(a);
    Trace::RemoveListener(nullptr);
    Trace::TraceDebug("z");
    EXPECT_EQ(log.Take(), "b DEBUG z");

    Trace::RemoveListener(b);
    Trace::RemoveListener(b);
    Trace::TraceDebug("none");
    EXPECT_EQ(log.Take(), "");
    EXPECT_TRUE(Trace::Listeners().empty());
}

TEST_F(TraceTest, RefusesANullListener) {
    ExpectException<ArgumentNullException>(ArgumentNullException("listener").what(),
                                           [] { Trace::AddListener(nullptr); });

    EXPECT_TRUE(Trace::Listeners().empty());
}

TEST_F(TraceTest, GivesOutACopyOfTheListeners) {
    AddLogging("a");

    auto listeners = Trace::Listeners();
    listeners.clear();

    EXPECT_EQ(Trace::Listeners().size(), 1u);
}

TEST_F(TraceTest, LetsListenersGoWhenTheyAreRemoved) {
    auto a = AddLogging("a");
    AddLogging("b");
    a->onDestruction = [this] {
        log.Add("a destroyed");
        Trace::TraceDebug("from the destructor");
    };

    Trace::RemoveListener(a);
    a.reset();

    EXPECT_EQ(log.Take(), "a destroyed, b DEBUG from the destructor");
}

TEST_F(TraceTest, FlushesAndClosesEveryListener) {
    const auto a = RecordingListener::Create();
    const auto b = AddLogging("b");
    b->onFlush = [this] { log.Add("b flush"); };
    b->onClose = [this] {
        log.Add("b close");
        EXPECT_TRUE(Trace::Listeners().empty());
        Trace::TraceDebug("nobody hears this");
    };
    Trace::AddListener(a);

    Trace::Flush();
    EXPECT_EQ(a->Log(), "flush");
    EXPECT_EQ(log.Take(), "b flush");

    Trace::Close();
    EXPECT_EQ(a->Log(), "flush, close");
    EXPECT_EQ(log.Take(), "b close");

    Trace::Close();
    Trace::Flush();
    Trace::RemoveListener(a);
    Trace::TraceFatal("nobody hears this");
    EXPECT_EQ(a->Log(), "flush, close");
}

TEST_F(TraceTest, MakesOneDescriptionOfAnEventForAllListeners) {
    FakeClock clock;
    std::vector<std::shared_ptr<TraceEventArgs>> seen;
    for (int i = 0; i < 2; ++i)
        Add([&](const auto& eventArgs, const auto&, const auto&) { seen.push_back(eventArgs); });

    Trace::TraceDebug("x");

    ASSERT_EQ(seen.size(), 2u);
    EXPECT_EQ(seen[0], seen[1]);
    EXPECT_EQ(clock.CallCount(), 1);
    EXPECT_EQ(seen[0]->Timestamp()->ToString(), "2026-11-21T08:15:30.042Z");
    EXPECT_EQ(seen[0]->ProcessId(), ::getpid());
    EXPECT_EQ(seen[0]->ThreadId(), ::gettid());
}

TEST_F(TraceTest, AsksTheFilter) {
    std::shared_ptr<TraceEventType> asked;
    bool answer = false;
    const auto listener = AddLogging("a");
    listener->SetFilter(std::make_shared<ScriptedFilter>([&](const auto& eventType) {
        asked = eventType;
        return answer;
    }));
    AddLogging("b");

    Trace::TraceWarning("x");
    EXPECT_EQ(log.Take(), "b WARNING x");
    EXPECT_EQ(asked, TraceEventType::WARNING);

    answer = true;
    Trace::TraceDebug("y");
    EXPECT_EQ(log.Take(), "a DEBUG y, b DEBUG y");
    EXPECT_EQ(asked, TraceEventType::DEBUG);
}

TEST_F(TraceTest, ReadsNoClockForAnEventThatNobodyWants) {
    FakeClock clock;
    const auto reading = std::make_shared<Reading>("7 V");
    AddLogging("a")->SetFilter(std::make_shared<ScriptedFilter>([](const auto&) { return false; }));

    Trace::TraceFatal(reading);

    EXPECT_EQ(clock.CallCount(), 0);
    EXPECT_EQ(reading->asked, 0);
}

TEST_F(TraceTest, DoesNothingAtAllWithoutListeners) {
    FakeClock clock;
    const auto reading = std::make_shared<Reading>("7 V");
    const string_ptr text = "text";
    const std::shared_ptr<Object> object = reading;
    const FormatException exception("bad");
    const AllocationFailure allocations;
    const TestSupport::FailingSystemCalls calls;

    Trace::TraceDebug(text);
    Trace::TraceInformation(object);
    Trace::TraceWarning(exception);
    Trace::TraceError(text);
    Trace::TraceFatal(exception);
    Trace::TraceInformation("a literal that would need memory");
    Trace::Flush();

    EXPECT_EQ(allocations.Count(), 0);
    EXPECT_EQ(clock.CallCount(), 0);
    EXPECT_EQ(reading->asked, 0);
    EXPECT_EQ(calls.Log(), "");
}

TEST_F(TraceTest, MakesNoTextForAListenerThatDoesNotWantIt) {
    AddLogging("a")->Filter = TraceEventTypeFilter::FromType(TraceEventType::FATAL);
    const string_ptr text = "text";
    const AllocationFailure allocations;

    Trace::TraceDebug("a literal that would need memory");
    Trace::TraceDebug(text);

    EXPECT_EQ(allocations.Count(), 0);
}

// Listeners that change the trace while it calls them

TEST_F(TraceTest, LetsAListenerTrace) {
    bool inside = false;
    Add([&](const auto&, const auto&, const auto&) {
        if (inside)
            return;
        inside = true;
        Trace::TraceDebug("inner");
        inside = false;
    });
    AddLogging("b");

    Trace::TraceDebug("outer");

    EXPECT_EQ(log.Take(), "b DEBUG inner, b DEBUG outer");
}

TEST_F(TraceTest, LetsAListenerRemoveItself) {
    std::weak_ptr<TraceListener> self;
    auto listener = Add([&](const auto&, const auto&, const auto&) {
        log.Add("once");
        Trace::RemoveListener(self.lock());
        EXPECT_FALSE(self.expired()) << "the event that is under way keeps it";
    });
    self = listener;
    listener.reset();
    AddLogging("b");

    Trace::TraceDebug("x");
    EXPECT_EQ(log.Take(), "once, b DEBUG x");
    EXPECT_TRUE(self.expired());

    Trace::TraceDebug("y");
    EXPECT_EQ(log.Take(), "b DEBUG y");
}

TEST_F(TraceTest, CallsListenersAsTheyWereWhenTheEventCame) {
    std::shared_ptr<TraceListener> last;
    Add([&](const auto&, const auto&, const auto&) {
        if (Trace::Listeners().size() == 2) {
            AddLogging("new");
            Trace::RemoveListener(last);
        }
    });
    last = AddLogging("last");

    Trace::TraceDebug("x");
    EXPECT_EQ(log.Take(), "last DEBUG x");

    Trace::RemoveListener(Trace::Listeners()[0]);
    Trace::TraceDebug("y");
    EXPECT_EQ(log.Take(), "new DEBUG y");
}

TEST_F(TraceTest, LetsAListenerCloseTheTrace) {
    const auto a = Add([](const auto&, const auto&, const auto&) { Trace::Close(); });
    a->onClose = [this] { log.Add("a close"); };
    AddLogging("b");

    Trace::TraceDebug("x");
    Trace::TraceDebug("y");

    EXPECT_EQ(log.Take(), "a close, b DEBUG x");
}

// Listeners that fail

TEST_F(TraceTest, ReportsAListenerThatThrowsAndGoesOn) {
    struct {
        std::function<void()> action;
        std::string report;
    } rows[] = {
        {[] { throw FormatException("bad"); }, "System::FormatException: bad"},
        {[] { throw ArgumentException("worse", std::make_shared<FormatException>("bad")); },
         "System::ArgumentException: worse ---> System::FormatException: bad"},
        {[] { throw FormatException("two\nlines\\"); }, "System::FormatException: two\\nlines\\\\"},
        {[] { throw std::runtime_error("broken"); }, "std::runtime_error: broken"},
        {[] { throw std::bad_alloc(); }, "std::bad_alloc: std::bad_alloc"},
        {[] { throw 7; }, "unknown exception"},
    };

    for (const auto& row : rows) {
        SCOPED_TRACE(row.report);
        const CapturedStandardError standardError;
        AddThrowing(row.action);
        AddLogging("b");

        Trace::TraceDebug("x");

        EXPECT_EQ(log.Take(), "b DEBUG x");
        EXPECT_EQ(standardError.Text(), "Trace listener Device::ScriptedListener failed: " + row.report + "\n");
        Trace::Close();
    }
}

TEST_F(TraceTest, ReportsAListenerOnceInItsLife) {
    const CapturedStandardError standardError;
    const auto a = AddThrowing([this] {
        log.Add("a");
        throw FormatException("bad");
    });
    a->onFlush = [] { throw FormatException("bad flush"); };
    a->onClose = [] { throw FormatException("bad close"); };
    const TestSupport::FailingSystemCalls calls;

    Trace::TraceDebug("x");
    EXPECT_EQ(calls.Log(), "write");
    Trace::TraceDebug("y");
    Trace::Flush();
    Trace::Close();
    Trace::AddListener(a);
    Trace::TraceDebug("z");

    EXPECT_EQ(calls.Log(), "write");
    EXPECT_EQ(log.Take(), "a, a, a");
    EXPECT_EQ(standardError.Text(), "Trace listener Device::ScriptedListener failed: System::FormatException: bad\n");

    AddThrowing([] { throw FormatException("another one"); });
    Trace::TraceDebug("z");
    EXPECT_EQ(standardError.Text(),
              "Trace listener Device::ScriptedListener failed: System::FormatException: bad\n"
              "Trace listener Device::ScriptedListener failed: System::FormatException: another one\n");
}

TEST_F(TraceTest, ReportsAFlushAndACloseThatThrow) {
    const CapturedStandardError standardError;
    const auto a = AddLogging("a"), b = AddLogging("b"), c = AddLogging("c");
    a->onFlush = [] { throw FormatException("bad flush"); };
    b->onFlush = [this] { log.Add("b flush"); };
    b->onClose = [] { throw FormatException("bad close"); };
    c->onClose = [this] { log.Add("c close"); };

    Trace::Flush();
    Trace::Close();

    EXPECT_EQ(log.Take(), "b flush, c close");
    EXPECT_EQ(standardError.Text(),
              "Trace listener Device::ScriptedListener failed: System::FormatException: bad flush\n"
              "Trace listener Device::ScriptedListener failed: System::FormatException: bad close\n");
}

TEST_F(TraceTest, CountsAFailingFilterAndFailingDataAsTheListenersFailure) {
    class Broken final : public Object {
        string_ptr ToString() override { throw FormatException("no text"); }
    };
    const CapturedStandardError standardError;
    AddLogging("a")->SetFilter(
        std::make_shared<ScriptedFilter>([](const auto&) -> bool { throw FormatException("bad filter"); }));
    AddLogging("b");
    Add([this](const auto&, const auto&, const auto&) { log.Add("c"); });

    Trace::TraceDebug(std::make_shared<Broken>());

    EXPECT_EQ(log.Take(), "c");
    EXPECT_EQ(standardError.Text(),
              "Trace listener Device::ScriptedListener failed: System::FormatException: bad filter\n"
              "Trace listener Device::ScriptedListener failed: System::FormatException: no text\n");
}

TEST_F(TraceTest, IsNotDisturbedByAStandardErrorThatIsNotThere) {
    AddThrowing([] { throw FormatException("bad"); });
    AddLogging("b");
    const TestSupport::FailingSystemCalls calls("write", 1, EBADF);

    Trace::TraceDebug("x");

    EXPECT_TRUE(calls.HasFailed());
    EXPECT_EQ(log.Take(), "b DEBUG x");
}

TEST_F(TraceTest, SaysThatAListenerFailedEvenWithoutMemory) {
    constexpr char REPORT[] = "Trace listener Device::ScriptedListener failed: std::bad_alloc: std::bad_alloc\n";
    constexpr char SHORT_REPORT[] = "A trace listener failed, and there is no memory to say how\n";

    for (long number = 1;; ++number) {
        SCOPED_TRACE(number);
        const CapturedStandardError standardError;
        std::optional<AllocationFailure> failure;
        AddThrowing([&] {
            failure.emplace(number);
            throw std::bad_alloc();
        });
        Trace::TraceDebug("x");
        const bool failed = failure->HasFailed();
        failure.reset();
        Trace::Close();

        EXPECT_EQ(standardError.Text(), failed ? SHORT_REPORT : REPORT);
        if (!failed) {
            EXPECT_GT(number, 2);
            return;
        }
    }
}

TEST_F(TraceTest, TracesTheMessageOfAnExceptionThatThereIsNoMemoryToDescribe) {
    std::shared_ptr<Object> seen;
    Add([&](const auto&, const auto&, const auto& data) { seen = data; });
    const FormatException exception("a message that is long enough to need memory of its own");
    {
        const AllocationFailure failure(1);
        Trace::TraceError(exception);
        EXPECT_TRUE(failure.HasFailed());
    }

    EXPECT_EQ(seen, std::shared_ptr<Object>(exception.Message()));
}

TEST_F(TraceTest, CountsTheMissingMemoryForAnEventAsTheListenersFailure) {
    const CapturedStandardError standardError;
    // Takes the spare block.
    std::shared_ptr<TraceEventArgs> reserve;
    auto first = Add([&](const auto& eventArgs, const auto&, const auto&) { reserve = eventArgs; });
    Trace::TraceDebug("w");
    Trace::RemoveListener(first);
    AddLogging("a");
    AddLogging("b");
    const string_ptr text = "x";
    {
        const AllocationFailure failure(1);
        Trace::TraceDebug(text);
    }

    EXPECT_EQ(log.Take(), "b DEBUG x");
    EXPECT_EQ(standardError.Text(), "Trace listener Device::ScriptedListener failed: std::bad_alloc: std::bad_alloc\n");
}

TEST_F(TraceTest, ChangesNothingWhenThereIsNoMemoryForAListener) {
    const auto a = AddLogging("a");
    const auto b = std::make_shared<ScriptedListener>([](const auto&, const auto&, const auto&) {});

    int failures = 0;
    for (long number = 1;; ++number) {
        const AllocationFailure failure(number);
        try {
            Trace::AddListener(b);
            break;
        } catch (const std::bad_alloc&) {
            ++failures;
        }
        EXPECT_EQ(Trace::Listeners(), std::vector<std::shared_ptr<TraceListener>>{a});
    }
    EXPECT_GT(failures, 0);

    failures = 0;
    for (long number = 1;; ++number) {
        const AllocationFailure failure(number);
        try {
            Trace::RemoveListener(a);
            break;
        } catch (const std::bad_alloc&) {
            ++failures;
        }
        EXPECT_EQ(Trace::Listeners(), (std::vector<std::shared_ptr<TraceListener>>{a, b}));
    }
    EXPECT_GT(failures, 0);
    EXPECT_EQ(Trace::Listeners(), std::vector<std::shared_ptr<TraceListener>>{b});
}

TEST_F(TraceTest, LetsACancelledThreadEnd) {
    const CapturedStandardError standardError;
    AddThrowing([] {
        for (;;)
            ::pause();
    });
    pthread_t thread;
    ASSERT_EQ(::pthread_create(
                  &thread, nullptr,
                  [](void*) -> void* {
                      Trace::TraceDebug("x");
                      return nullptr;
                  },
                  nullptr),
              0);

    ::pthread_cancel(thread);

    void* result = nullptr;
    ::pthread_join(thread, &result);
    EXPECT_EQ(result, PTHREAD_CANCELED);
    EXPECT_EQ(standardError.Text(), "");
}

// Several threads and processes

TEST_F(TraceTest, ServesManyThreadsWhileListenersComeAndGo) {
    constexpr int THREADS = 4, EVENTS = 500;
    std::atomic<int> heard{0}, passing{0};
    const auto always = Add([&](const auto&, const auto&, const auto&) { ++heard; });
    const CapturedStandardError standardError;
    AddThrowing([] { throw FormatException("bad"); });

    std::vector<std::thread> threads;
    for (int i = 0; i < THREADS; ++i)
        threads.emplace_back([] {
            for (int event = 0; event < EVENTS; ++event)
                Trace::TraceInformation("x");
        });
    for (int i = 0; i < 2; ++i)
        threads.emplace_back([&passing] {
            for (int round = 0; round < EVENTS; ++round) {
                // Destroyed with its last event, on any thread.
                const auto guest = std::make_shared<ScriptedListener>(
                    [&passing](const auto&, const auto&, const auto&) { ++passing; });
                Trace::AddListener(guest);
                EXPECT_GE(Trace::Listeners().size(), 3u);
                Trace::Flush();
                Trace::RemoveListener(guest);
            }
        });
    for (auto& thread : threads)
        thread.join();

    EXPECT_EQ(heard, THREADS * EVENTS);
    EXPECT_EQ(Trace::Listeners().size(), 2u);
    EXPECT_EQ(standardError.Text(), "Trace listener Device::ScriptedListener failed: System::FormatException: bad\n");
}

// Two threads that trace until the end of the test.
class BusyThreads final {
public:
    BusyThreads() {
        for (std::thread& thread : threads)
            thread = std::thread([this] {
                while (!stop)
                    Trace::TraceInformation("x");
            });
    }
    BusyThreads(const BusyThreads&) = delete;
    BusyThreads& operator=(const BusyThreads&) = delete;
    ~BusyThreads() {
        stop = true;
        for (std::thread& thread : threads)
            thread.join();
    }

private:
    std::atomic<bool> stop{false};
    std::thread threads[2];
};

TEST_F(TraceTest, IsClosedWhileOtherThreadsTrace) {
    const BusyThreads threads;

    for (int round = 0; round < 2000; ++round) {
        const auto listener = RecordingListener::Create();
        Trace::AddListener(listener);
        Trace::Close();
        EXPECT_NE(listener->Log().find("close"), std::string::npos);
    }
}

TEST_F(TraceTest, ServesAChildThatIsForkedWhileOtherThreadsTrace) {
    Add([](const auto&, const auto&, const auto&) {});
    const BusyThreads threads;

    for (int i = 0; i < 20; ++i) {
        const pid_t child = ::fork();
        if (child == 0) {
            ::alarm(20); // kills a child in a deadlock
            Trace::TraceInformation("y");
            ::_exit(Trace::Listeners().size() == 1 ? 0 : 1);
        }
        int status = -1;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        ASSERT_EQ(status, 0);
    }
}

} // namespace
