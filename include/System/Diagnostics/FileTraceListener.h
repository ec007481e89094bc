// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include <System/Diagnostics/TraceListener.h>
#include <System/Export.h>
#include <System/IO/Exceptions.h>
#include <System/String.h>

namespace System::Diagnostics {

// Appends one line per record to a file that several threads and processes may share. Any thread.
//
//     2026-11-21T08:15:30.042Z INFORMATION gateway[1234:1240] the text
//
// A record is one write, and never kept back. Control characters of the text are escaped (\n, \r, \t, \x1b) and the
// backslash is doubled, so that a record is always one line and can be read back. When the file was moved or removed,
// the next record goes to a new file at the path. A failed write is the listener's failure; the next record tries
// again.
class SYSTEM_EXPORT FileTraceListener final : public TraceListener {
public:
    // Opens the file, and creates it if missing. Failures are those of FileStream.
    static std::shared_ptr<FileTraceListener> Create(string_ptr path);
    ~FileTraceListener() override;

    // Closes the file; later events are dropped.
    void Close() override;
    void TraceEvent(std::shared_ptr<TraceEventArgs> eventArgs, std::shared_ptr<TraceEventType> eventType,
                    std::shared_ptr<Object> data) override;

private:
    struct LogFile;
    explicit FileTraceListener(std::unique_ptr<LogFile> ownFile) noexcept;

    const std::unique_ptr<LogFile> file;
};

} // namespace System::Diagnostics
