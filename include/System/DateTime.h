// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include <System/Export.h>
#include <System/Object.h>
#include <System/String.h>
#include <System/TimeSpan.h>

namespace System {

namespace Diagnostics {
class TraceEventArgs;
}

// A moment of the wall clock, to the nanosecond, in 64 bits on every machine. Immutable: any thread.
//
// The wall clock can be set, so that a later moment may be the smaller one. Now reads it once, by
// clock_gettime(CLOCK_REALTIME); a test program may define that function to replace the clock.
class SYSTEM_EXPORT DateTime final : public Object {
    struct Passkey {
        explicit Passkey() = default;
    };

public:
    // The present moment. Reuses the memory of an object freed before, if there is one.
    static std::shared_ptr<DateTime> Now();

    // For this class alone: only it can name the first argument's type.
    DateTime(Passkey, long long ownNanoseconds) noexcept : nanoseconds(ownNanoseconds) {}

    // How long after other this moment is; negative when it is before. A null other: ArgumentNullException "other".
    TimeSpan Subtract(const std::shared_ptr<DateTime>& other) const;

    // Nanoseconds since 1970-01-01T00:00:00Z.
    long long Nanoseconds() const noexcept { return nanoseconds; }

    // ISO 8601 in UTC with milliseconds, truncated: "2026-11-21T08:15:30.042Z".
    string_ptr ToString() override;

private:
    friend class Diagnostics::TraceEventArgs;

    const long long nanoseconds;
};

} // namespace System
