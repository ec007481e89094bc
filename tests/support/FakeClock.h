// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace TestSupport {

// A fake wall clock: during its lifetime CLOCK_REALTIME changes only by the operations below.
//
// A test program that uses this class gets its clock_gettime, for all threads. At most one object at a time. Starts at
// 2026-11-21T08:15:30.042Z.
class FakeClock final {
public:
    FakeClock() noexcept;
    FakeClock(const FakeClock&) = delete;
    FakeClock& operator=(const FakeClock&) = delete;
    ~FakeClock();

    // Since 1970-01-01T00:00:00Z.
    void Set(long long seconds, long nanoseconds) noexcept;

    // Backwards too.
    void AdvanceNanoseconds(long long span) noexcept;
    void AdvanceMilliseconds(long long span) noexcept { AdvanceNanoseconds(span * 1'000'000); }

    // Every reading advances the clock, so that a loop that polls it ends.
    void AdvanceAtEachReading(long long nanoseconds) noexcept;

    // The number of readings since construction.
    int CallCount() const noexcept;
};

} // namespace TestSupport
