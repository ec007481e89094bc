// SPDX-License-Identifier: Apache-2.0
#include <System/String.h>

#include <climits>
#include <cstdlib>
#include <new>
#include <string>
#include <string_view>
#include <type_traits>
#include <unordered_set>

#include <gtest/gtest.h>

#include <System/Exceptions.h>

#include "tests/support/AllocationFailure.h"
#include "tests/support/ExpectException.h"

namespace {

using namespace System;
using TestSupport::AllocationFailure;
using TestSupport::ExpectException;

static_assert(sizeof(string_ptr) <= 2 * sizeof(void*));
static_assert(std::is_nothrow_copy_constructible_v<string_ptr> && std::is_nothrow_copy_assignable_v<string_ptr>);
static_assert(!std::is_convertible_v<string_ptr, bool>);

// Constructed before the library's statics, destroyed after them.
struct EarlyBird {
    string_ptr empty = "";
    string_ptr text = "early";
    bool armed = false;

    // Reports by the exit status whether texts and exceptions still work.
    ~EarlyBird() {
        if (!armed)
            return;
        string_ptr late = text + "";
        try {
            throw FormatException(late + string_ptr(u""));
        } catch (const Exception& exception) {
            const bool good = exception.ToString() == "System::FormatException: early" &&
                              Exception().Message() == empty && &*string_ptr("") == &*empty;
            std::_Exit(good ? 42 : 1);
        }
    }
};
[[gnu::init_priority(101)]] EarlyBird earlyBird;

TEST(StringPtr, IsNullByDefaultAndFromNullPointers) {
    const char* noBytes = nullptr;
    const char16_t* noUnits = nullptr;

    for (const string_ptr& text : {string_ptr(), string_ptr(nullptr), string_ptr(noBytes), string_ptr(noUnits)}) {
        EXPECT_FALSE(text);
        EXPECT_TRUE(text == nullptr);
        EXPECT_TRUE(nullptr == text);
    }
    EXPECT_TRUE(string_ptr(""));
    EXPECT_FALSE(string_ptr("") == nullptr);
    EXPECT_TRUE(string_ptr("") != nullptr);
}

TEST(StringPtr, ReadsBytesAsUtf8) {
    const string_ptr expected = u"gr\u00fcn \U0001F600";

    EXPECT_EQ(string_ptr("gr\xc3\xbcn \xF0\x9F\x98\x80"), expected);
    EXPECT_EQ(string_ptr(std::string("gr\xc3\xbcn \xF0\x9F\x98\x80")), expected);
    EXPECT_EQ(string_ptr(std::string_view("gr\xc3\xbcn \xF0\x9F\x98\x80!").substr(0, 10)), expected);
    EXPECT_EQ(string_ptr("a\xff")->View(), u"a\uFFFD");
}

TEST(StringPtr, KeepsNulCharactersOfViewsAndStrings) {
    EXPECT_EQ(string_ptr(std::string_view("a\0b", 3))->View(), std::u16string_view(u"a\0b", 3));
    EXPECT_EQ(string_ptr(std::string("a\0b", 3))->View(), std::u16string_view(u"a\0b", 3));
    EXPECT_EQ(string_ptr(std::u16string_view(u"a\0b", 3))->Length(), 3);
}

TEST(StringPtr, TakesCodeUnitsAsTheyAre) {
    EXPECT_EQ(string_ptr(u"\xD800x")->View(), u"\xD800x");
    EXPECT_EQ(string_ptr(std::u16string_view(u"\xDC00\xD800"))->View(), u"\xDC00\xD800");
}

TEST(StringPtr, RejectsMoreCodeUnitsThanAnIntCountsBeforeItReadsOne) {
    if constexpr (sizeof(std::size_t) > 4) {
        const std::size_t tooMany = static_cast<std::size_t>(INT_MAX) + 1;
        const auto make = [](auto view) { EXPECT_FALSE(string_ptr(view)); };

        ExpectException<ArgumentOutOfRangeException>("The argument \"text\" is out of range",
                                                     [&] { make(std::u16string_view(u"x", tooMany)); });
        ExpectException<ArgumentOutOfRangeException>("The argument \"text\" is out of range",
                                                     [&] { make(std::string_view("x", 3 * tooMany)); });
    }
}

TEST(StringPtr, ThrowsWhereANullHandleIsUsed) {
    const string_ptr null;

    ExpectException<NullReferenceException>("A null text was used", [&] { EXPECT_EQ(null->Length(), 0); });
    ExpectException<NullReferenceException>("A null text was used", [&] { EXPECT_EQ((*null).Length(), 0); });
}

TEST(StringPtr, ComparesByContentAndCase) {
    const string_ptr text = "abc", same = std::string("abc"), null;

    EXPECT_NE(&*text, &*same);
    EXPECT_TRUE(text == same);
    EXPECT_FALSE(text != same);
    EXPECT_TRUE(text == "abc");
    EXPECT_TRUE(text != "abC");
    EXPECT_TRUE(text != "ab");
    EXPECT_TRUE(text != "abcd");
    EXPECT_TRUE(text != "");
    EXPECT_TRUE(text != null);
    EXPECT_TRUE(null != text);
    EXPECT_TRUE(null == string_ptr());
    EXPECT_TRUE(string_ptr("") != null);
    EXPECT_TRUE(null != string_ptr(""));
}

TEST(StringPtr, ConcatenatesAndCountsNullAsEmpty) {
    const string_ptr null;

    EXPECT_EQ(string_ptr("ab") + string_ptr("cd"), "abcd");
    EXPECT_EQ("ab" + string_ptr("c"), "abc");
    EXPECT_EQ(string_ptr("ab") + std::string("c"), "abc");
    EXPECT_EQ(string_ptr("ab") + null, "ab");
    EXPECT_EQ(null + "ab", "ab");
    EXPECT_EQ(null + null, "");
    EXPECT_EQ(string_ptr("") + "", "");
    EXPECT_EQ((string_ptr(u"\xD83D") + string_ptr(u"\xDE00"))->ToUtf8(), "\xF0\x9F\x98\x80");
}

TEST(StringPtr, LeavesTheTextsOfAConcatenationAsTheyWere) {
    const string_ptr left = "ab", right = "cd";

    const string_ptr both = left + right;

    EXPECT_EQ(both, "abcd");
    EXPECT_EQ(left, "ab");
    EXPECT_EQ(right, "cd");
}

TEST(StringPtr, HashesAsItCompares) {
    const std::hash<string_ptr> hash;

    EXPECT_EQ(hash("section"), hash(std::string("section")));
    EXPECT_EQ(hash(""), hash(u""));
    EXPECT_EQ(hash(string_ptr()), hash(nullptr));
    EXPECT_NE(hash(string_ptr()), hash(""));

    std::unordered_set<std::size_t> codes;
    for (int i = 0; i < 1000; ++i)
        codes.insert(hash(std::to_string(i)));
    EXPECT_GT(codes.size(), 995u);
}

TEST(StringPtr, BecomesAnObject) {
    const string_ptr text = "data";

    const std::shared_ptr<Object> object = text;
    const std::shared_ptr<Object> none = string_ptr();

    EXPECT_EQ(object.get(), &*text);
    EXPECT_EQ(object->ToString(), "data");
    EXPECT_EQ(none, nullptr);
}

TEST(StringPtr, SharesTheTextAmongCopies) {
    const string_ptr text = "shared";

    const AllocationFailure counter;
    const string_ptr copy = text;

    EXPECT_EQ(&*copy, &*text);
    EXPECT_EQ(counter.Count(), 0);
}

TEST(StringPtr, TakesOneAllocationATextAndNoneAnEmptyOne) {
    const std::string longText(1000, 'x');
    const string_ptr left = "left", right = "right";

    const auto count = [](auto&& make) {
        const AllocationFailure counter;
        const string_ptr text = make();
        return counter.Count();
    };

    EXPECT_EQ(count([] { return string_ptr("a"); }), 1);
    EXPECT_EQ(count([&] { return string_ptr(longText); }), 1);
    EXPECT_EQ(count([] { return string_ptr(u"units"); }), 1);
    EXPECT_EQ(count([] { return string_ptr("\xE2\x82\xAC\xff"); }), 2); // it may be ASCII, until it is read
    EXPECT_EQ(count([&] { return left + right; }), 1);
    EXPECT_EQ(count([] { return string_ptr(""); }), 0);
    EXPECT_EQ(count([] { return string_ptr(u""); }), 0);
    EXPECT_EQ(count([] { return string_ptr() + ""; }), 0);
}

TEST(StringPtr, WorksBeforeAndAfterTheStaticsOfTheLibrary) {
    EXPECT_EQ(&*earlyBird.empty, &*String::EMPTY);
    EXPECT_EQ(earlyBird.text, "early");

    EXPECT_EXIT(
        {
            earlyBird.armed = true;
            std::exit(0);
        },
        testing::ExitedWithCode(42), "");
}

TEST(StringPtr, SurvivesEveryAllocationFailure) {
    const long allocations = TestSupport::FailEachAllocation([] {
        string_ptr text = "kept";
        const string_ptr more = "more";
        string_ptr both;
        try {
            both = text + more;
            text = u"replaced";
        } catch (const std::bad_alloc&) {
            EXPECT_EQ(text->Length(), 4);
            EXPECT_TRUE(!both || both->Length() == 8);
            throw;
        }
    });

    EXPECT_EQ(allocations, 4);
}

} // namespace
