// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <mutex>
#include <string>

#include <System/Diagnostics/TraceListener.h>

namespace TestSupport {

// A listener that logs its calls: "INFORMATION hello, FATAL bye, flush, close". A test compares the log as one string.
// Any thread.
class RecordingListener final : public System::Diagnostics::TraceListener {
public:
    static std::shared_ptr<RecordingListener> Create() {
        return std::shared_ptr<RecordingListener>(new RecordingListener);
    }

    std::string Log() const {
        const std::lock_guard lock(mutex);
        return log;
    }

    // Clears the log and frees its memory.
    void Forget() {
        const std::lock_guard lock(mutex);
        std::string().swap(log);
    }

    void Close() override { Put("close"); }
    void TraceEvent(std::shared_ptr<System::Diagnostics::TraceEventArgs>,
                    std::shared_ptr<System::Diagnostics::TraceEventType> eventType,
                    std::shared_ptr<System::Object> data) override {
        Put(eventType->Name()->ToUtf8() + " " + (data ? data->ToString()->ToUtf8() : "null"));
    }
    void Flush() override { Put("flush"); }

private:
    RecordingListener() = default;

    void Put(const std::string& entry) {
        const std::lock_guard lock(mutex);
        log += (log.empty() ? "" : ", ") + entry;
    }

    mutable std::mutex mutex;
    std::string log;
};

} // namespace TestSupport
