// SPDX-License-Identifier: Apache-2.0
#include <System/Convert.h>

#include <climits>
#include <cstdint>
#include <string>

#include <gtest/gtest.h>

#include <System/Exceptions.h>

#include "tests/support/AllocationFailure.h"
#include "tests/support/ExpectException.h"

namespace {

using namespace System;
using TestSupport::ExpectException;

const std::string MANY_ZEROS(1000, '0');

TEST(Convert, ReadsSignedNumbers) {
    const struct {
        std::string text;
        int base;
        long long expected;
    } CASES[] = {
        {"0", 10, 0},
        {"7", 10, 7},
        {"0123456789", 10, 123456789},
        {"-1", 10, -1},
        {"-0", 10, 0},
        {"-007", 10, -7},
        {"9223372036854775807", 10, LLONG_MAX},
        {"-9223372036854775808", 10, LLONG_MIN},
        {MANY_ZEROS + "9223372036854775807", 10, LLONG_MAX},
        {"-" + MANY_ZEROS + "9223372036854775808", 10, LLONG_MIN},
        {"0", 16, 0},
        {"10", 16, 16},
        {"0x10", 16, 16},
        {"0X10", 16, 16},
        {"0x0", 16, 0},
        {"44000000", 16, 0x44000000},
        {"89abcdef", 16, 0x89abcdef},
        {"89ABCDEF", 16, 0x89abcdef},
        {"aF", 16, 175},
        {"7fffffffffffffff", 16, LLONG_MAX},
        {"8000000000000000", 16, LLONG_MIN},
        {"ffffffffffffffff", 16, -1},
        {"0xFFFFFFFFFFFFFFFF", 16, -1},
        {"0x" + MANY_ZEROS + "FFFFFFFFFFFFFFFe", 16, -2},
    };
    for (const auto& row : CASES)
        EXPECT_EQ(Convert::ToInt64(row.text, row.base), row.expected) << row.text;
    EXPECT_EQ(Convert::ToInt64("12"), 12);
}

TEST(Convert, ReadsUnsignedNumbers) {
    const struct {
        std::string text;
        int base;
        unsigned long long expected;
    } CASES[] = {
        {"0", 10, 0},
        {"12", 10, 12},
        {"18446744073709551615", 10, ULLONG_MAX},
        {MANY_ZEROS + "18446744073709551615", 10, ULLONG_MAX},
        {"1a2b3c4d", 16, 0x1a2b3c4d},
        {"0xffffffffffffffff", 16, ULLONG_MAX},
        {MANY_ZEROS + "1", 16, 1},
    };
    for (const auto& row : CASES)
        EXPECT_EQ(Convert::ToUInt64(row.text, row.base), row.expected) << row.text;
    EXPECT_EQ(Convert::ToUInt64("12"), 12u);
}

TEST(Convert, RejectsWhatIsNoNumberAndShowsIt) {
    const struct {
        std::u16string text;
        int base;
        const char* shown;
    } CASES[] = {
        {u"", 10, ""},
        {u"", 16, ""},
        {u"-", 10, "-"},
        {u"--1", 10, "--1"},
        {u"-+1", 10, "-+1"},
        {u"+1", 10, "+1"},
        {u"1-", 10, "1-"},
        {u"1 ", 10, "1 "},
        {u" 1", 10, " 1"},
        {u"- 1", 10, "- 1"},
        {u"1\n", 10, "1\\n"},
        {u"1\r\n", 10, "1\\r\\n"},
        {u"\x1b[0m", 10, "\\x1b[0m"},
        {u"a\\b", 10, "a\\\\b"},
        {std::u16string(u"1\0", 2), 10, "1\\x00"},
        {u"1.0", 10, "1.0"},
        {u"1e3", 10, "1e3"},
        {u"a", 10, "a"},
        {u"/", 10, "/"},
        {u":", 10, ":"},
        {u"0x1", 10, "0x1"},
        {u"0x", 16, "0x"},
        {u"0X", 16, "0X"},
        {u"x1", 16, "x1"},
        {u"00x1", 16, "00x1"},
        {u"0x0x1", 16, "0x0x1"},
        {u"-1", 16, "-1"},
        {u"-0x1", 16, "-0x1"},
        {u"0x-1", 16, "0x-1"},
        {u"g", 16, "g"},
        {u"G", 16, "G"},
        {u"@", 16, "@"},
        {u"`", 16, "`"},
        {u"/", 16, "/"},
        {u":", 16, ":"},
        {u"\x10", 16, "\\x10"},        // a digit with one bit flipped
        {u"1\u0131", 16, "1\xC4\xB1"}, // its low byte is a digit
        {u"\u0661", 10, "\xD9\xA1"},   // digits of other scripts
        {u"\uFF11", 10, "\xEF\xBC\x91"},
        {u"\u0141", 16, "\xC5\x81"},
        {u"99999999999999999999999x", 10, "99999999999999999999999x"},
        {u"fffffffffffffffffffffff ", 16, "fffffffffffffffffffffff "},
    };
    for (const auto& row : CASES) {
        const std::string message =
            "\"" + std::string(row.shown) + "\" is not a " + (row.base == 10 ? "decimal" : "hexadecimal") + " number";
        const string_ptr text = std::u16string_view(row.text);
        ExpectException<FormatException>(message, [&] { Convert::ToInt64(text, row.base); });
        ExpectException<FormatException>(message, [&] { Convert::ToUInt64(text, row.base); });
    }
    ExpectException<FormatException>("\"-1\" is not a decimal number", [] { Convert::ToUInt64("-1"); });
    ExpectException<FormatException>("\"-0\" is not a decimal number", [] { Convert::ToUInt64("-0"); });
}

TEST(Convert, RejectsNumbersOutside64Bits) {
    for (const char* text :
         {"9223372036854775808", "-9223372036854775809", "18446744073709551616", "-18446744073709551617",
          "99999999999999999999", "100000000000000000000000000000000000000000"})
        ExpectException<OverflowException>("\"" + std::string(text) + "\" does not fit into 64 bits",
                                           [&] { Convert::ToInt64(text); });
    for (const char* text : {"18446744073709551616", "20000000000000000000", "184467440737095516150"})
        ExpectException<OverflowException>("\"" + std::string(text) + "\" does not fit into 64 bits",
                                           [&] { Convert::ToUInt64(text); });
    for (const char* text : {"10000000000000000", "0x12345678123456781", "fffffffffffffffff", "0x0ffffffffffffffff0"}) {
        const std::string message = "\"" + std::string(text) + "\" does not fit into 64 bits";
        ExpectException<OverflowException>(message, [&] { Convert::ToInt64(text, 16); });
        ExpectException<OverflowException>(message, [&] { Convert::ToUInt64(text, 16); });
    }
}

TEST(Convert, RejectsOtherBasesAndNullTexts) {
    for (const int base : {0, 2, 8, -10, 11, 36}) {
        ExpectException<ArgumentException>("The base must be 10 or 16", [&] { Convert::ToInt64("1", base); });
        ExpectException<ArgumentException>("The base must be 10 or 16", [&] { Convert::ToUInt64("1", base); });
        ExpectException<ArgumentException>("The base must be 10 or 16", [&] { Convert::ToString(1, base); });
        ExpectException<ArgumentException>("The base must be 10 or 16", [&] { Convert::ToString(1u, base); });
    }
    ExpectException<ArgumentNullException>("The argument \"text\" must not be null", [] { Convert::ToInt64(nullptr); });
    ExpectException<ArgumentNullException>("The argument \"text\" must not be null",
                                           [] { Convert::ToUInt64(nullptr, 16); });
}

TEST(Convert, WritesEveryIntegerType) {
    EXPECT_EQ(Convert::ToString(0), "0");
    EXPECT_EQ(Convert::ToString(-12), "-12");
    EXPECT_EQ(Convert::ToString(static_cast<unsigned char>(65)), "65");
    EXPECT_EQ(Convert::ToString(static_cast<signed char>(-1)), "-1");
    EXPECT_EQ(Convert::ToString(static_cast<short>(-300)), "-300");
    EXPECT_EQ(Convert::ToString(static_cast<unsigned short>(65535)), "65535");
    EXPECT_EQ(Convert::ToString(4294967295u), "4294967295");
    EXPECT_EQ(Convert::ToString(-5L), "-5");
    EXPECT_EQ(Convert::ToString(5UL), "5");
    EXPECT_EQ(Convert::ToString(LLONG_MIN), "-9223372036854775808");
    EXPECT_EQ(Convert::ToString(LLONG_MAX), "9223372036854775807");
    EXPECT_EQ(Convert::ToString(ULLONG_MAX), "18446744073709551615");
}

TEST(Convert, WritesLowerCaseHexadecimalDigitsWithoutAPrefix) {
    EXPECT_EQ(Convert::ToString(0, 16), "0");
    EXPECT_EQ(Convert::ToString(0x1a2b3c4d, 16), "1a2b3c4d");
    EXPECT_EQ(Convert::ToString(static_cast<unsigned char>(255), 16), "ff");
    EXPECT_EQ(Convert::ToString(-1, 16), "ffffffffffffffff");
    EXPECT_EQ(Convert::ToString(static_cast<signed char>(-2), 16), "fffffffffffffffe");
    EXPECT_EQ(Convert::ToString(LLONG_MIN, 16), "8000000000000000");
    EXPECT_EQ(Convert::ToString(ULLONG_MAX, 16), "ffffffffffffffff");
}

TEST(Convert, ReadsWhatItWrites) {
    for (int shift = 0; shift < 64; ++shift)
        for (const long long offset : {-1, 0, 1}) {
            const auto value = static_cast<long long>((1ULL << shift) + static_cast<unsigned long long>(offset));
            const auto pattern = static_cast<unsigned long long>(value);
            EXPECT_EQ(Convert::ToInt64(Convert::ToString(value)), value);
            EXPECT_EQ(Convert::ToInt64(Convert::ToString(value, 16), 16), value);
            EXPECT_EQ(Convert::ToUInt64(Convert::ToString(pattern)), pattern);
            EXPECT_EQ(Convert::ToUInt64(Convert::ToString(pattern, 16), 16), pattern);
        }
}

TEST(Convert, SurvivesEveryAllocationFailure) {
    const long allocations = TestSupport::FailEachAllocation([] {
        try {
            Convert::ToInt64("no number, and longer than a short string's buffer");
        } catch (const FormatException&) {
        }
        try {
            Convert::ToInt64("9999999999999999999999999999999999999999999999999");
        } catch (const OverflowException&) {
        }
        EXPECT_EQ(Convert::ToString(12), "12");
    });

    EXPECT_GT(allocations, 8);
}

} // namespace
