// SPDX-License-Identifier: Apache-2.0
#include <System/Diagnostics/Trace.h>

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <string>
#include <string_view>
#include <typeinfo>
#include <utility>

#include <cxxabi.h>
#include <pthread.h>
#include <unistd.h>

#include <System/Raisers.h>

#include "runtime/Escape.h"
#include "runtime/TypeName.h"

namespace System::Diagnostics {

using ListenerList = std::vector<std::shared_ptr<TraceListener>>;

namespace {

// Copy-on-write: an event works on a snapshot of the list; AddListener and RemoveListener replace the list.
using SharedList = std::shared_ptr<const ListenerList>;

// Something whose constructor runs at compile time and whose destructor never runs, so that it serves statics that are
// made before this library's and threads and destructors that go on after them.
template <class T>
union Lasting {
    constexpr Lasting() noexcept : value() {}
    ~Lasting() {}
    T value;
};

constinit std::mutex mutex;
constinit Lasting<SharedList> current; // guarded by mutex; null: no listener

SharedList Snapshot() {
    const std::scoped_lock lock(mutex);
    return current.value;
}

// Releases the listeners before the other statics of this library: a listener's destructor can still trace, make
// strings and throw. A listener added later lives until the process ends.
struct ReleaseAtExit {
    ~ReleaseAtExit() {
        SharedList list; // released after the lock
        const std::scoped_lock lock(mutex);
        list.swap(current.value);
    }
};
[[gnu::init_priority(300)]] const ReleaseAtExit releaseAtExit;

// The exception in flight, for people.
std::string TextOfException() {
    try {
        throw;
    } catch (const Exception& exception) {
        return exception.ToString()->ToUtf8();
    } catch (const std::exception& exception) {
        return TypeName(typeid(exception).name()) + ": " + exception.what();
    } catch (...) {
        return "unknown exception";
    }
}

// Called while an exception is handled.
void ReportFailure(const TraceListener& listener) {
    std::string line;
    try {
        const string_ptr text = TypeName(typeid(listener).name()) + " failed: " + TextOfException();
        line = "Trace listener ";
        AppendEscaped(line, text->View());
        line += '\n';
    } catch (...) {
        line.clear();
    }
    constexpr std::string_view NO_MEMORY = "A trace listener failed, and there is no memory to say how\n";
    const std::string_view report = line.empty() ? NO_MEMORY : std::string_view(line);
    // No channel is left to report a failure of this.
    [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, report.data(), report.size());
}

// Calls one listener; its failure must not affect the others.
template <class Call>
void CallSafely(TraceListener& listener, std::atomic<bool>& failureReported, const Call& call) {
    try {
        call();
    } catch (abi::__forced_unwind&) {
        throw; // a cancelled thread must end, and the C library insists on it
    } catch (...) {
        if (!failureReported.exchange(true, std::memory_order_relaxed))
            ReportFailure(listener);
    }
}

// The child of a fork must not inherit the lock from a thread that it does not have. If there is no memory for the
// handler, the risk remains; tracing works all the same.
void KeepLockUsableInForkedChildren() {
    static const int result = ::pthread_atfork([] { mutex.lock(); }, [] { mutex.unlock(); }, [] { mutex.unlock(); });
    static_cast<void>(result);
}

} // namespace

constinit std::atomic<int> Trace::listenerCount{0};

void Trace::AddListener(std::shared_ptr<TraceListener> listener) {
    if (!listener)
        _throw_argument_null_exception("listener");
    KeepLockUsableInForkedChildren();
    SharedList before; // released after the lock: a destructor may trace
    const std::scoped_lock lock(mutex);
    auto list = current.value ? std::make_shared<ListenerList>(*current.value) : std::make_shared<ListenerList>();
    list->push_back(std::move(listener));
    before = std::exchange(current.value, std::move(list));
    listenerCount.store(static_cast<int>(current.value->size()), std::memory_order_relaxed);
}

void Trace::RemoveListener(const std::shared_ptr<TraceListener>& listener) {
    SharedList before; // released after the lock: a destructor may trace
    const std::scoped_lock lock(mutex);
    if (!current.value)
        return;
    const auto found = std::find(current.value->begin(), current.value->end(), listener);
    if (found == current.value->end())
        return;
    auto list = std::make_shared<ListenerList>(current.value->begin(), found);
    list->insert(list->end(), found + 1, current.value->end());
    before = std::exchange(current.value, std::move(list));
    listenerCount.store(static_cast<int>(current.value->size()), std::memory_order_relaxed);
}

std::vector<std::shared_ptr<TraceListener>> Trace::Listeners() {
    const SharedList list = Snapshot();
    return list ? *list : ListenerList();
}

// Makes the event and its data lazily, for the first listener that wants them; running out of memory counts as that
// listener's failure.
template <class MakeData>
void Trace::Deliver(const Type& type, const MakeData& makeData) {
    const SharedList list = Snapshot();
    if (!list)
        return;
    std::shared_ptr<Object> data;
    std::shared_ptr<TraceEventArgs> eventArgs;
    for (const auto& listener : *list)
        CallSafely(*listener, listener->failureReported, [&] {
            if (listener->Filter && !listener->Filter->ShouldTrace(type))
                return;
            if (!eventArgs) {
                data = makeData();
                eventArgs = TraceEventArgs::Create();
            }
            if (&listener == &list->back()) // the last one takes over what nobody else needs
                listener->TraceEvent(std::move(eventArgs), type, std::move(data));
            else
                listener->TraceEvent(eventArgs, type, data);
        });
}

void Trace::Dispatch(const Type& type, const char* utf8) {
    Deliver(type, [&] { return std::shared_ptr<Object>(string_ptr(utf8)); });
}

void Trace::Dispatch(const Type& type, const string_ptr& text) {
    Deliver(type, [&] { return std::shared_ptr<Object>(text); });
}

void Trace::Dispatch(const Type& type, const std::shared_ptr<Object>& data) {
    Deliver(type, [&] { return data; });
}

void Trace::Dispatch(const Type& type, const Exception& exception) {
    string_ptr text;
    try {
        text = exception.ToString();
    } catch (abi::__forced_unwind&) {
        throw;
    } catch (...) {
        text = exception.Message(); // out of memory: use the message alone
    }
    Dispatch(type, text);
}

void Trace::Flush() {
    for (const auto& listener : Listeners())
        CallSafely(*listener, listener->failureReported, [&] { listener->Flush(); });
}

void Trace::Close() {
    SharedList list;
    {
        const std::scoped_lock lock(mutex);
        list = std::exchange(current.value, nullptr);
        listenerCount.store(0, std::memory_order_relaxed);
    }
    if (!list)
        return;
    for (const auto& listener : *list)
        CallSafely(*listener, listener->failureReported, [&] { listener->Close(); });
}

} // namespace System::Diagnostics
