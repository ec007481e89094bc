// SPDX-License-Identifier: Apache-2.0
#include <System/DateTime.h>

#include <chrono>
#include <cstring>
#include <limits>
#include <string_view>

#include <time.h>

#include <System/Raisers.h>

#include "runtime/SpareAllocator.h"
#include "runtime/WallClock.h"

namespace System {

namespace {

constexpr long long NANOSECONDS_PER_SECOND = 1'000'000'000;

// Saturates at 64 bits, 292 years from 1970: a clock set to nonsense must not stop the program.
constexpr long long Limit(bool negative) noexcept {
    return negative ? std::numeric_limits<long long>::min() : std::numeric_limits<long long>::max();
}

char* WriteTwoDigits(char* target, unsigned number) noexcept {
    target[0] = static_cast<char>('0' + number / 10);
    target[1] = static_cast<char>('0' + number % 10);
    return target + 2;
}

// The formatted second, "2026-11-21T08:15:30.".
constexpr std::size_t SECOND_TEXT_LENGTH = DATE_TIME_TEXT_LENGTH - 4;

void WriteSecond(char* target, long long seconds) noexcept {
    using namespace std::chrono;
    const sys_seconds moment{std::chrono::seconds(seconds)};
    const auto day = floor<days>(moment);
    const year_month_day date{day};
    const unsigned year = static_cast<unsigned>(static_cast<int>(date.year()));
    const unsigned ofDay = static_cast<unsigned>((moment - day).count());

    target = WriteTwoDigits(target, year / 100);
    target = WriteTwoDigits(target, year % 100);
    *target++ = '-';
    target = WriteTwoDigits(target, static_cast<unsigned>(date.month()));
    *target++ = '-';
    target = WriteTwoDigits(target, static_cast<unsigned>(date.day()));
    *target++ = 'T';
    target = WriteTwoDigits(target, ofDay / 3600);
    *target++ = ':';
    target = WriteTwoDigits(target, ofDay / 60 % 60);
    *target++ = ':';
    target = WriteTwoDigits(target, ofDay % 60);
    *target++ = '.';
}

} // namespace

std::shared_ptr<DateTime> DateTime::Now() {
    return std::allocate_shared<DateTime>(SpareAllocator<DateTime>(), Passkey(), ReadWallClock());
}

DateTime::~DateTime() = default;

TimeSpan DateTime::Subtract(const std::shared_ptr<DateTime>& other) const {
    if (!other)
        _throw_argument_null_exception("other");
    long long difference;
    if (__builtin_sub_overflow(nanoseconds, other->nanoseconds, &difference))
        difference = Limit(nanoseconds < other->nanoseconds);
    return TimeSpan(difference);
}

string_ptr DateTime::ToString() {
    char text[DATE_TIME_TEXT_LENGTH];
    WriteDateTime(text, nanoseconds);
    return std::string_view(text, sizeof text);
}

long long ReadWallClock() noexcept {
    // Not std::chrono: the C++ library reads its clocks, and a test program's clock_gettime may not reach there.
    timespec now;
    ::clock_gettime(CLOCK_REALTIME, &now);
    const long long seconds = now.tv_sec;
    long long nanoseconds;
    if (__builtin_mul_overflow(seconds, NANOSECONDS_PER_SECOND, &nanoseconds) ||
        __builtin_add_overflow(nanoseconds, static_cast<long long>(now.tv_nsec), &nanoseconds))
        return Limit(seconds < 0);
    return nanoseconds;
}

char* WriteDateTime(char* target, long long nanoseconds) noexcept {
    // Rounded towards the past, so that the milliseconds of a moment before 1970 count forwards too.
    long long seconds = nanoseconds / NANOSECONDS_PER_SECOND;
    long long rest = nanoseconds % NANOSECONDS_PER_SECOND;
    if (rest < 0) {
        rest += NANOSECONDS_PER_SECOND;
        --seconds;
    }

    // Caches the formatted second per thread. Small, because static thread-local storage is scarce.
    [[gnu::tls_model("initial-exec")]] static thread_local constinit struct {
        long long seconds = 0;
        char text[SECOND_TEXT_LENGTH + 1] = "1970-01-01T00:00:00.";
    } last;
    if (last.seconds != seconds) {
        WriteSecond(last.text, seconds);
        last.seconds = seconds;
    }
    std::memcpy(target, last.text, SECOND_TEXT_LENGTH);
    target += SECOND_TEXT_LENGTH;
    const unsigned milliseconds = static_cast<unsigned>(rest) / 1'000'000;
    *target++ = static_cast<char>('0' + milliseconds / 100);
    target = WriteTwoDigits(target, milliseconds % 100);
    *target++ = 'Z';
    return target;
}

} // namespace System
