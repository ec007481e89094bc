// SPDX-License-Identifier: Apache-2.0
#include <System/Text/StringBuilder.h>

#include <climits>
#include <cstddef>
#include <string>

#include <gtest/gtest.h>

#include <System/Collections/Generic/Array.h>
#include <System/Exceptions.h>

#include "tests/support/AllocationFailure.h"
#include "tests/support/ExpectException.h"

namespace {

using namespace System;
using System::Text::StringBuilder;

class Sensor final : public Object {
public:
    string_ptr ToString() override { return name; }
    string_ptr name = "sensor 7";
};

TEST(StringBuilder, BeginsEmpty) {
    const auto builder = StringBuilder::Create();

    EXPECT_EQ(builder->Length(), 0);
    EXPECT_EQ(&*builder->ToString(), &*String::EMPTY);
}

TEST(StringBuilder, AppendsEveryKindOfPiece) {
    const auto builder = StringBuilder::Create();
    const auto sensor = std::make_shared<Sensor>();
    const std::shared_ptr<Object> object = sensor;

    builder->Append("text ")
        .Append(string_ptr(u"\u20AC "))
        .Append(u'A')
        .Append(static_cast<unsigned short>(66))
        .Append(" ");
    builder->Append(static_cast<unsigned char>(67)).Append(u' ').Append(-12).Append(u' ').Append(12u).Append(u' ');
    builder->Append(LLONG_MIN).Append(u' ').Append(ULLONG_MAX).Append(u' ').Append(sensor).Append(u' ').Append(object);

    EXPECT_EQ(builder->ToString(),
              u"text \u20AC AB 67 -12 12 -9223372036854775808 18446744073709551615 sensor 7 sensor 7");
}

template <class Number>
std::string AppendedAndInserted(Number number) {
    const auto builder = StringBuilder::Create();
    return builder->Append("(").Append(number).Append(")").Insert(1, number).ToString()->ToUtf8();
}

TEST(StringBuilder, TakesEveryTypeOfInteger) {
    EXPECT_EQ(AppendedAndInserted(true), "(11)");
    EXPECT_EQ(AppendedAndInserted(static_cast<signed char>(-3)), "(-3-3)");
    EXPECT_EQ(AppendedAndInserted(static_cast<short>(-4)), "(-4-4)");
    EXPECT_EQ(AppendedAndInserted(-5L), "(-5-5)");
    EXPECT_EQ(AppendedAndInserted(6UL), "(66)");
    EXPECT_EQ(AppendedAndInserted(sizeof(char)), "(11)");
    EXPECT_EQ(AppendedAndInserted(std::ptrdiff_t{-7}), "(-7-7)");
    EXPECT_EQ(AppendedAndInserted(LONG_MIN), "(" + std::to_string(LONG_MIN) + std::to_string(LONG_MIN) + ")");
    EXPECT_EQ(AppendedAndInserted(ULONG_MAX), "(" + std::to_string(ULONG_MAX) + std::to_string(ULONG_MAX) + ")");
    EXPECT_EQ(AppendedAndInserted(U'A'), "(6565)");
}

TEST(StringBuilder, AddsNothingForNull) {
    const auto builder = StringBuilder::Create();
    const string_ptr noText;
    const std::shared_ptr<Sensor> noObject, unnamed = std::make_shared<Sensor>();
    unnamed->name = nullptr;

    builder->Append("a").Append(noText).Append(noObject).Append(unnamed).Append("b").Insert(1, noText).Insert(1,
                                                                                                              noObject);

    EXPECT_EQ(builder->ToString(), "ab");
}

TEST(StringBuilder, InsertsEveryKindOfPiece) {
    const struct {
        StringBuilder& (*insert)(StringBuilder&);
        const char* expected;
    } CASES[] = {
        {[](StringBuilder& b) -> StringBuilder& { return b.Insert(0, "xy"); }, "xyabc"},
        {[](StringBuilder& b) -> StringBuilder& { return b.Insert(1, "xy"); }, "axybc"},
        {[](StringBuilder& b) -> StringBuilder& { return b.Insert(3, "xy"); }, "abcxy"},
        {[](StringBuilder& b) -> StringBuilder& { return b.Insert(1, u'x'); }, "axbc"},
        {[](StringBuilder& b) -> StringBuilder& { return b.Insert(1, static_cast<unsigned short>('x')); }, "axbc"},
        {[](StringBuilder& b) -> StringBuilder& { return b.Insert(1, static_cast<unsigned char>(0)); }, "a0bc"},
        {[](StringBuilder& b) -> StringBuilder& { return b.Insert(1, -7); }, "a-7bc"},
        {[](StringBuilder& b) -> StringBuilder& { return b.Insert(1, 4294967295u); }, "a4294967295bc"},
        {[](StringBuilder& b) -> StringBuilder& { return b.Insert(1, LLONG_MIN); }, "a-9223372036854775808bc"},
        {[](StringBuilder& b) -> StringBuilder& { return b.Insert(1, ULLONG_MAX); }, "a18446744073709551615bc"},
        {[](StringBuilder& b) -> StringBuilder& { return b.Insert(1, std::make_shared<Sensor>()); }, "asensor 7bc"},
        {[](StringBuilder& b) -> StringBuilder& { return b.Insert(0, 1).Insert(0, 2); }, "21abc"},
    };
    for (const auto& row : CASES) {
        const auto builder = StringBuilder::Create();
        builder->Append("abc");
        EXPECT_EQ(&row.insert(*builder), &*builder);
        EXPECT_EQ(builder->ToString(), row.expected);
    }
}

TEST(StringBuilder, RejectsAnIndexOutsideAndStaysAsItWas) {
    const auto builder = StringBuilder::Create();
    builder->Append("abc");

    for (const int index : {-1, 4, INT_MAX, INT_MIN}) {
        const auto expectRejected = [&](auto piece) {
            TestSupport::ExpectException<ArgumentOutOfRangeException>("The argument \"index\" is out of range",
                                                                      [&] { builder->Insert(index, piece); });
        };
        expectRejected(string_ptr("x"));
        expectRejected(string_ptr());
        expectRejected(u'x');
        expectRejected(1);
        expectRejected(1ull);
        expectRejected(std::make_shared<Sensor>());
    }

    EXPECT_EQ(builder->ToString(), "abc");
}

TEST(StringBuilder, KeepsItsTextWhenItGivesIt) {
    const auto builder = StringBuilder::Create();
    builder->Append("a");

    const string_ptr first = builder->ToString();
    builder->Append("b");

    EXPECT_EQ(first, "a");
    EXPECT_EQ(builder->ToString(), "ab");
    EXPECT_EQ(builder->Length(), 2);
}

TEST(StringBuilder, TakesItsOwnTextAndItself) {
    const auto builder = StringBuilder::Create();
    builder->Append("ab");

    builder->Insert(1, builder->ToString()).Append(builder);

    EXPECT_EQ(builder->ToString(), "aabbaabb");
}

TEST(StringBuilder, ThrowsItsTextAwayAndKeepsTheRoom) {
    const auto builder = StringBuilder::Create();
    builder->Append(String::FromChars('x', 1000));

    builder->Clear();

    EXPECT_EQ(builder->Length(), 0);
    EXPECT_EQ(builder->ToString(), "");
    const string_ptr piece = String::FromChars('y', 1000);
    const TestSupport::AllocationFailure counter;
    builder->Append(piece);
    EXPECT_EQ(counter.Count(), 0);
}

TEST(StringBuilder, AppendsTextsAndCodeUnitsWithoutAnAllocation) {
    const auto builder = StringBuilder::Create();
    builder->Append(String::FromChars('x', 1000)).Clear();

    const string_ptr text = "text";
    const TestSupport::AllocationFailure counter;
    builder->Append(text).Append(u'x').Insert(3, text);

    EXPECT_EQ(counter.Count(), 0);
}

TEST(StringBuilder, SurvivesEveryAllocationFailure) {
    const long allocations = TestSupport::FailEachAllocation([] {
        const auto builder = StringBuilder::Create();
        builder->Append("a");
        const string_ptr before = builder->ToString();
        try {
            builder->Append("a text that is longer than a short string's buffer");
        } catch (const std::bad_alloc&) {
            EXPECT_EQ(builder->Length(), 1);
            throw;
        }
        builder->Insert(0, String::FromChars('x', 200));
        EXPECT_EQ(builder->ToString()->Length(), 251);
    });

    EXPECT_GT(allocations, 5);
}

} // namespace
