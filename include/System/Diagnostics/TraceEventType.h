// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include <System/Export.h>
#include <System/Object.h>
#include <System/String.h>

namespace System::Diagnostics {

// The severity of a trace event: one of the five shared objects below, compared by identity. Immutable: any thread.
class SYSTEM_EXPORT TraceEventType final : public Object {
public:
    static const std::shared_ptr<TraceEventType> DEBUG;
    static const std::shared_ptr<TraceEventType> INFORMATION;
    static const std::shared_ptr<TraceEventType> WARNING;
    static const std::shared_ptr<TraceEventType> ERROR;
    static const std::shared_ptr<TraceEventType> FATAL;

    // "DEBUG", "INFORMATION" and so on.
    const string_ptr& Name() const noexcept { return name; }

    // Rises from DEBUG to FATAL.
    int Severity() const noexcept { return severity; }

    // The name.
    string_ptr ToString() override;

private:
    TraceEventType(string_ptr ownName, int ownSeverity) noexcept;

    const string_ptr name;
    const int severity;
};

} // namespace System::Diagnostics
