// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <System/Export.h>

namespace System {

// A duration, possibly negative. A value; concurrent reads.
class TimeSpan final {
public:
    constexpr explicit TimeSpan(long long ownNanoseconds = 0) noexcept : nanoseconds(ownNanoseconds) {}

    // The whole length in nanoseconds, good for 292 years either way.
    constexpr long long Nanoseconds() const noexcept { return nanoseconds; }

    // The whole length in whole milliseconds; a rest is cut off, towards zero.
    constexpr long long Milliseconds() const noexcept { return nanoseconds / 1'000'000; }

private:
    long long nanoseconds;
};

} // namespace System
