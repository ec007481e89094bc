// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace TestSupport {

// The wall clock in the test's hands: while an object lives, CLOCK_REALTIME stands still but for what the test does to
// it.
//
// A test program that names this class gets its clock_gettime, for all of its threads. Only one object lives at a time.
// It begins on 2026-11-21T08:15:30.042Z.
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

    // What every reading adds to the time behind it, so that a loop that waits for the clock ends.
    void AdvanceAtEachReading(long long nanoseconds) noexcept;

    // How often the clock was read since the object was made.
    int CallCount() const noexcept;
};

} // namespace TestSupport
