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

// Writes the number over so many digits, which end at end.
void WriteDigits(char* end, int digits, unsigned number) noexcept {
    for (; digits > 0; --digits, number /= 10)
        *--end = static_cast<char>('0' + number % 10);
}

} // namespace

std::shared_ptr<DateTime> DateTime::Now() {
    return std::allocate_shared<DateTime>(SpareAllocator<DateTime>(), Passkey(), ReadWallClock());
}

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
    using namespace std::chrono;
    // Rounded towards the past, so that the milliseconds of a moment before 1970 count forwards too.
    const std::chrono::nanoseconds moment(nanoseconds);
    const auto second = floor<seconds>(moment);

    // Caches the formatted second per thread. Small, because static thread-local storage is scarce.
    [[gnu::tls_model("initial-exec")]] static thread_local constinit struct {
        seconds second{0};
        char text[DATE_TIME_TEXT_LENGTH + 1] = "1970-01-01T00:00:00.000Z";
    } last;
    if (last.second != second) {
        const auto day = floor<days>(second);
        const year_month_day date{sys_days(day)};
        const unsigned ofDay = static_cast<unsigned>((second - day).count());
        WriteDigits(last.text + 4, 4, static_cast<unsigned>(static_cast<int>(date.year())));
        WriteDigits(last.text + 7, 2, static_cast<unsigned>(date.month()));
        WriteDigits(last.text + 10, 2, static_cast<unsigned>(date.day()));
        WriteDigits(last.text + 13, 2, ofDay / 3600);
        WriteDigits(last.text + 16, 2, ofDay / 60 % 60);
        WriteDigits(last.text + 19, 2, ofDay % 60);
        last.second = second;
    }
    std::memcpy(target, last.text, DATE_TIME_TEXT_LENGTH);
    WriteDigits(target + 23, 3, static_cast<unsigned>((moment - second) / 1ms));
    return target + DATE_TIME_TEXT_LENGTH;
}

} // namespace System
