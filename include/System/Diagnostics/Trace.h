// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <vector>

#include <System/Diagnostics/TraceEventType.h>
#include <System/Diagnostics/TraceListener.h>
#include <System/Exceptions.h>
#include <System/Export.h>
#include <System/String.h>

namespace System::Diagnostics {

// The process's trace: events go to the listeners that the application added, in that order.
//
// Any thread, at any time from before main to the destructors of statics. The listeners of an event are called in turn
// on the tracing thread, with no lock held. Without a listener a call costs a load and a branch. A listener that throws
// is reported on standard error, once in its life, and the event goes on to the others.
class SYSTEM_EXPORT Trace final {
public:
    Trace() = delete;

    // Appends a listener; one that is added twice is called twice. Null: ArgumentNullException "listener".
    static void AddListener(std::shared_ptr<TraceListener> listener);

    // Removes the listener once; does nothing if it is absent. An event in flight may still reach it.
    static void RemoveListener(const std::shared_ptr<TraceListener>& listener);

    // A snapshot of the listeners.
    static std::vector<std::shared_ptr<TraceListener>> Listeners();

    // One event with a text, a shared pointer to an object, an exception, of which the listeners get the text that its
    // ToString() gives, or nullptr for an empty text. A literal becomes a text only for a listener that wants it.
    template <class Data>
    static void TraceDebug(const Data& data) {
        Event(TraceEventType::DEBUG, data);
    }
    template <class Data>
    static void TraceInformation(const Data& data) {
        Event(TraceEventType::INFORMATION, data);
    }
    template <class Data>
    static void TraceWarning(const Data& data) {
        Event(TraceEventType::WARNING, data);
    }
    template <class Data>
    static void TraceError(const Data& data) {
        Event(TraceEventType::ERROR, data);
    }
    template <class Data>
    static void TraceFatal(const Data& data) {
        Event(TraceEventType::FATAL, data);
    }

    // Every listener's Flush.
    static void Flush();

    // Removes all listeners and calls each one's Close.
    static void Close();

private:
    using Type = std::shared_ptr<TraceEventType>;

    template <class Data>
    static void Event(const Type& type, const Data& data) {
        if (listenerCount.load(std::memory_order_relaxed) != 0)
            Dispatch(type, data);
    }
    static void Dispatch(const Type& type, const char* utf8);
    static void Dispatch(const Type& type, const string_ptr& text);
    static void Dispatch(const Type& type, const std::shared_ptr<Object>& data);
    static void Dispatch(const Type& type, const Exception& exception);
    static void Dispatch(const Type& type, std::nullptr_t) { Dispatch(type, String::EMPTY); }
    template <class MakeData>
    static void Deliver(const Type& type, const MakeData& makeData);

    static std::atomic<int> listenerCount;
};

} // namespace System::Diagnostics
