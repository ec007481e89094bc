// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

namespace System {

// The wall clock without objects, for callers that cannot afford an allocation; DateTime uses it too.

// Nanoseconds since 1970-01-01T00:00:00Z.
long long ReadWallClock() noexcept;

// "2026-11-21T08:15:30.042Z"
inline constexpr std::size_t DATE_TIME_TEXT_LENGTH = 24;

// Writes the text of DateTime::ToString, DATE_TIME_TEXT_LENGTH characters without an end mark, for a moment that many
// nanoseconds after 1970-01-01T00:00:00Z, and returns its end.
char* WriteDateTime(char* target, long long nanoseconds) noexcept;

} // namespace System
