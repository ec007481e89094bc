// SPDX-License-Identifier: Apache-2.0
#include <System/Collections/Generic/TextOf.h>

#include <cstdlib>
#include <limits>
#include <memory>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include <System/Collections/Generic/Array.h>
#include <System/Collections/Generic/Dictionary.h>
#include <System/Collections/Generic/KeyValuePair.h>
#include <System/Text/StringBuilder.h>
#include <System/TimeSpan.h>

#include "tests/support/ExpectException.h"

namespace {

using namespace System;
using Collections::Generic::TextOf;

enum class Fruit : signed char { APPLE = -1, PEAR = 65 };
enum Plain { FIRST = 7 };

TEST(TextOf, ShowsTextsNumbersAndObjects) {
    const auto builder = Text::StringBuilder::Create();
    builder->Append("built");

    EXPECT_EQ(TextOf(string_ptr("text")), "text");
    EXPECT_EQ(TextOf(string_ptr()), "null");
    EXPECT_EQ(TextOf(true), "true");
    EXPECT_EQ(TextOf(false), "false");
    EXPECT_EQ(TextOf(-5), "-5");
    EXPECT_EQ(TextOf(static_cast<unsigned char>(65)), "65");
    EXPECT_EQ(TextOf(builder), "built");
    EXPECT_EQ(TextOf(std::shared_ptr<Object>()), "null");
}

TEST(TextOf, ShowsWhateverATextIsMadeFrom) {
    EXPECT_EQ(TextOf(std::string("Gr\xC3\xBC\xC3\x9F")), u"Gr\u00FC\u00DF");
    EXPECT_EQ(TextOf(std::string_view("view")), "view");
    EXPECT_EQ(TextOf(std::u16string(u"units")), "units");
    const char* text = "bytes";
    EXPECT_EQ(TextOf(text), "bytes");
    text = nullptr;
    EXPECT_EQ(TextOf(text), "null");
    EXPECT_EQ(TextOf("literal"), "literal");
}

TEST(TextOf, ShowsTheShortestTextOfAFraction) {
    EXPECT_EQ(TextOf(0.1), "0.1");
    EXPECT_EQ(TextOf(0.1F), "0.1");
    EXPECT_EQ(TextOf(0.1L), "0.1");
    EXPECT_EQ(TextOf(-2.5), "-2.5");
    EXPECT_EQ(TextOf(3.0), "3");
    EXPECT_EQ(TextOf(1e300), "1e+300");
    EXPECT_EQ(TextOf(1.0 / 3), "0.3333333333333333");
    EXPECT_EQ(TextOf(std::numeric_limits<double>::infinity()), "inf");
    EXPECT_EQ(TextOf(std::numeric_limits<double>::quiet_NaN()), "nan");
}

// The digits and the exponent always fit.
TEST(TextOf, HasRoomForTheLongestFractions) {
    using Limits = std::numeric_limits<long double>;

    for (const long double value : {-Limits::max(), -Limits::min(), -Limits::denorm_min(), -Limits::max() / 3})
        EXPECT_EQ(std::strtold(TextOf(value)->ToUtf8().c_str(), nullptr), value);
}

TEST(TextOf, ShowsTheNumberOfAnEnumerator) {
    EXPECT_EQ(TextOf(Fruit::APPLE), "-1");
    EXPECT_EQ(TextOf(Fruit::PEAR), "65");
    EXPECT_EQ(TextOf(FIRST), "7");
}

TEST(TextOf, NamesTheTypeOfAnythingElse) {
    EXPECT_EQ(TextOf(TimeSpan(1)), "System::TimeSpan");
    EXPECT_EQ(TextOf(static_cast<const void*>(nullptr)), "void const*");
    EXPECT_EQ(TextOf(Collections::Generic::KeyValuePair<int, bool>()),
              "System::Collections::Generic::KeyValuePair<int, bool>");
}

TEST(TextOf, IsWhatCollectionsShow) {
    using namespace Collections::Generic;
    const auto numbers = Dictionary<double, int>::Create();

    EXPECT_EQ((Array<std::string>::Create({"a", "b"})->ToString()), "[a, b]");
    EXPECT_EQ((Array<double>::Create({0.5, 2})->ToString()), "[0.5, 2]");
    EXPECT_EQ((Array<Fruit>::Create({Fruit::PEAR})->ToString()), "[65]");
    TestSupport::ExpectException<KeyNotFoundException>("0.5", [&] { (*numbers)[0.5]; });
}

} // namespace
