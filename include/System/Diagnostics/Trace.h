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

    // One event. Of an exception the listeners get the text that its ToString() gives. A literal becomes a text only
    // for a listener that wants it.
    static void TraceDebug(const char* utf8) { TraceText(TraceEventType::DEBUG, utf8); }
    static void TraceDebug(const string_ptr& text) { TraceText(TraceEventType::DEBUG, text); }
    static void TraceDebug(const std::shared_ptr<Object>& data) { TraceObject(TraceEventType::DEBUG, data); }
    static void TraceDebug(const Exception& exception) { TraceException(TraceEventType::DEBUG, exception); }
    static void TraceInformation(const char* utf8) { TraceText(TraceEventType::INFORMATION, utf8); }
    static void TraceInformation(const string_ptr& text) { TraceText(TraceEventType::INFORMATION, text); }
    static void TraceInformation(const std::shared_ptr<Object>& data) {
        TraceObject(TraceEventType::INFORMATION, data);
    }
    static void TraceInformation(const Exception& exception) { TraceException(TraceEventType::INFORMATION, exception); }
    static void TraceWarning(const char* utf8) { TraceText(TraceEventType::WARNING, utf8); }
    static void TraceWarning(const string_ptr& text) { TraceText(TraceEventType::WARNING, text); }
    static void TraceWarning(const std::shared_ptr<Object>& data) { TraceObject(TraceEventType::WARNING, data); }
    static void TraceWarning(const Exception& exception) { TraceException(TraceEventType::WARNING, exception); }
    static void TraceError(const char* utf8) { TraceText(TraceEventType::ERROR, utf8); }
    static void TraceError(const string_ptr& text) { TraceText(TraceEventType::ERROR, text); }
    static void TraceError(const std::shared_ptr<Object>& data) { TraceObject(TraceEventType::ERROR, data); }
    static void TraceError(const Exception& exception) { TraceException(TraceEventType::ERROR, exception); }
    static void TraceFatal(const char* utf8) { TraceText(TraceEventType::FATAL, utf8); }
    static void TraceFatal(const string_ptr& text) { TraceText(TraceEventType::FATAL, text); }
    static void TraceFatal(const std::shared_ptr<Object>& data) { TraceObject(TraceEventType::FATAL, data); }
    static void TraceFatal(const Exception& exception) { TraceException(TraceEventType::FATAL, exception); }

    // One event with an empty text.
    static void TraceDebug(std::nullptr_t) { TraceText(TraceEventType::DEBUG, String::EMPTY); }
    static void TraceInformation(std::nullptr_t) { TraceText(TraceEventType::INFORMATION, String::EMPTY); }
    static void TraceWarning(std::nullptr_t) { TraceText(TraceEventType::WARNING, String::EMPTY); }
    static void TraceError(std::nullptr_t) { TraceText(TraceEventType::ERROR, String::EMPTY); }
    static void TraceFatal(std::nullptr_t) { TraceText(TraceEventType::FATAL, String::EMPTY); }

    // Every listener's Flush.
    static void Flush();

    // Removes all listeners and calls each one's Close.
    static void Close();

private:
    using Type = std::shared_ptr<TraceEventType>;

    template <class Text>
    static void TraceText(const Type& type, const Text& text) {
        if (listenerCount.load(std::memory_order_relaxed) != 0)
            Dispatch(type, text);
    }
    static void TraceObject(const Type& type, const std::shared_ptr<Object>& data) {
        if (listenerCount.load(std::memory_order_relaxed) != 0)
            Dispatch(type, data);
    }
    static void TraceException(const Type& type, const Exception& exception) {
        if (listenerCount.load(std::memory_order_relaxed) != 0)
            Dispatch(type, exception);
    }
    static void Dispatch(const Type& type, const char* utf8);
    static void Dispatch(const Type& type, const string_ptr& text);
    static void Dispatch(const Type& type, const std::shared_ptr<Object>& data);
    static void Dispatch(const Type& type, const Exception& exception);
    template <class MakeData>
    static void Deliver(const Type& type, const MakeData& makeData);

    static std::atomic<int> listenerCount;
};

} // namespace System::Diagnostics
