// SPDX-License-Identifier: Apache-2.0
#include <System/DateTime.h>

#include <chrono>
#include <limits>
#include <string_view>

#include <time.h>

#include <System/Raisers.h>

#include "runtime/DateTimeText.h"

namespace System {

namespace {

constexpr long long NANOSECONDS_PER_SECOND = 1'000'000'000;

// What does not fit into 64 bits, which is 292 years away from 1970, becomes the nearest that does: a clock that was
// set to nonsense must not stop the program.
constexpr long long Limit(bool negative) noexcept {
    return negative ? std::numeric_limits<long long>::min() : std::numeric_limits<long long>::max();
}

long long ReadClock() noexcept {
    // Not by std::chrono: its clocks are read inside of the C++ library, where a test program's own clock_gettime may
    // not reach.
    timespec now;
    ::clock_gettime(CLOCK_REALTIME, &now);
    const long long seconds = now.tv_sec;
    long long nanoseconds;
    if (__builtin_mul_overflow(seconds, NANOSECONDS_PER_SECOND, &nanoseconds) ||
        __builtin_add_overflow(nanoseconds, static_cast<long long>(now.tv_nsec), &nanoseconds))
        return Limit(seconds < 0);
    return nanoseconds;
}

TimeSpan Difference(long long later, long long earlier) noexcept {
    long long difference;
    if (__builtin_sub_overflow(later, earlier, &difference))
        difference = Limit(later < earlier);
    return TimeSpan(difference);
}

char* WriteDigits(char* target, unsigned number, int count) noexcept {
    for (int i = count - 1; i >= 0; --i) {
        target[i] = static_cast<char>('0' + number % 10);
        number /= 10;
    }
    return target + count;
}

} // namespace

std::shared_ptr<DateTime> DateTime::Now() {
    return std::make_shared<DateTime>(Passkey(), ReadClock());
}

DateTime::~DateTime() = default;

TimeSpan DateTime::Subtract(const std::shared_ptr<DateTime>& other) const {
    if (!other)
        _throw_argument_null_exception("other");
    return Difference(nanoseconds, other->nanoseconds);
}

TimeSpan DateTime::Elapsed() const {
    return Difference(ReadClock(), nanoseconds);
}

std::shared_ptr<DateTime> DateTime::Add(TimeSpan span) const {
    long long sum;
    if (__builtin_add_overflow(nanoseconds, span.Nanoseconds(), &sum))
        sum = Limit(nanoseconds < 0);
    return std::make_shared<DateTime>(Passkey(), sum);
}

string_ptr DateTime::ToString() {
    char text[DATE_TIME_TEXT_LENGTH];
    WriteDateTime(text, nanoseconds);
    return std::string_view(text, sizeof text);
}

char* WriteDateTime(char* target, long long nanoseconds) noexcept {
    using namespace std::chrono;
    // Rounded towards the past, so that the milliseconds of a moment before 1970 count forwards too.
    const auto moment = floor<milliseconds>(std::chrono::nanoseconds(nanoseconds));
    const auto day = floor<days>(moment);
    const year_month_day date{sys_days(day)};
    const unsigned ofDay = static_cast<unsigned>((moment - day).count());

    target = WriteDigits(target, static_cast<unsigned>(static_cast<int>(date.year())), 4);
    *target++ = '-';
    target = WriteDigits(target, static_cast<unsigned>(date.month()), 2);
    *target++ = '-';
    target = WriteDigits(target, static_cast<unsigned>(date.day()), 2);
    *target++ = 'T';
    target = WriteDigits(target, ofDay / 3'600'000, 2);
    *target++ = ':';
    target = WriteDigits(target, ofDay / 60'000 % 60, 2);
    *target++ = ':';
    target = WriteDigits(target, ofDay / 1000 % 60, 2);
    *target++ = '.';
    target = WriteDigits(target, ofDay % 1000, 3);
    *target++ = 'Z';
    return target;
}

} // namespace System
