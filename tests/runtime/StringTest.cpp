// SPDX-License-Identifier: Apache-2.0
#include <System/String.h>

#include <climits>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <System/Collections/Generic/Array.h>
#include <System/Exceptions.h>
#include <System/Text/StringBuilder.h>

#include "tests/support/AllocationFailure.h"
#include "tests/support/ExpectException.h"

namespace {

using namespace System;
using Collections::Generic::Array;
using Collections::Generic::IArray;
using TestSupport::AllocationFailure;
using TestSupport::ExpectException;

std::string OutOfRange(const std::string& name) {
    return "The argument \"" + name + "\" is out of range";
}
std::string Null(const std::string& name) {
    return "The argument \"" + name + "\" must not be null";
}

TEST(String, CountsAndGivesCodeUnits) {
    const string_ptr text = u"a\U0001F600";

    EXPECT_EQ(text->Length(), 3);
    EXPECT_EQ((*text)[0], u'a');
    EXPECT_EQ((*text)[1], 0xD83D);
    EXPECT_EQ((*text)[2], 0xDE00);
    EXPECT_EQ(text->View(), u"a\U0001F600");
    EXPECT_EQ(String::EMPTY->Length(), 0);
    EXPECT_TRUE(String::EMPTY->View().empty());
}

TEST(String, RejectsAnIndexOutside) {
    const string_ptr text = "abc";

    for (const int index : {-1, 3, INT_MAX, INT_MIN})
        ExpectException<ArgumentOutOfRangeException>(OutOfRange("index"), [&] { EXPECT_EQ((*text)[index], u'x'); });
    ExpectException<ArgumentOutOfRangeException>(OutOfRange("index"), [] { EXPECT_EQ((*String::EMPTY)[0], u'x'); });
}

TEST(String, StartsWithItsBeginningsOnly) {
    const string_ptr text = "/sys/class";

    EXPECT_TRUE(text->StartsWith(""));
    EXPECT_TRUE(text->StartsWith("/"));
    EXPECT_TRUE(text->StartsWith("/sys/class"));
    EXPECT_FALSE(text->StartsWith("/sys/class/"));
    EXPECT_FALSE(text->StartsWith("/Sys"));
    EXPECT_FALSE(text->StartsWith("sys"));
    EXPECT_TRUE(String::EMPTY->StartsWith(""));
    EXPECT_FALSE(String::EMPTY->StartsWith("a"));
    ExpectException<ArgumentNullException>(Null("prefix"), [&] { EXPECT_FALSE(text->StartsWith(nullptr)); });
}

TEST(String, GivesItsParts) {
    const struct {
        int index, length;
        const char* expected;
    } CASES[] = {{0, 0, ""}, {0, 1, "a"}, {0, 4, "abcd"}, {1, 2, "bc"}, {3, 1, "d"}, {4, 0, ""}, {2, 0, ""}};
    const string_ptr text = "abcd";

    for (const auto& row : CASES)
        EXPECT_EQ(text->Substring(row.index, row.length), row.expected);
}

TEST(String, RejectsPartsThatDoNotLieWithin) {
    const struct {
        int index, length;
        const char* parameter;
    } CASES[] = {{-1, 1, "index"},      {5, 0, "index"},        {INT_MAX, INT_MAX, "index"},
                 {INT_MIN, 0, "index"}, {0, 5, "length"},       {4, 1, "length"},
                 {3, 2, "length"},      {1, INT_MAX, "length"}, {4, INT_MAX, "length"},
                 {0, -1, "length"},     {2, INT_MIN, "length"}};
    const string_ptr text = "abcd";
    const std::shared_ptr<IArray<unsigned short>> chars = text->ToCharArray();

    for (const auto& row : CASES) {
        ExpectException<ArgumentOutOfRangeException>(OutOfRange(row.parameter),
                                                     [&] { EXPECT_FALSE(text->Substring(row.index, row.length)); });
        ExpectException<ArgumentOutOfRangeException>(
            OutOfRange(row.parameter), [&] { EXPECT_FALSE(String::FromArray(chars, row.index, row.length)); });
    }
}

TEST(String, SplitsAtEveryWholeSeparator) {
    const struct {
        const char *text, *separator, *expected;
    } CASES[] = {
        {"a,b", ",", "[a, b]"},
        {"mainboard 3.0.1", " ", "[mainboard, 3.0.1]"},
        {"a", ",", "[a]"},
        {"", ",", "[]"}, // one empty part; the test below distinguishes it from none
        {",", ",", "[, ]"},
        {",a,,b,", ",", "[, a, , b, ]"},
        {"a<>b<>c", "<>", "[a, b, c]"},
        {"a<b>c", "<>", "[a<b>c]"},
        {"aaa", "aa", "[, a]"},
        {"aaaa", "aa", "[, , ]"},
        {"abab", "ab", "[, , ]"},
        {"aab", "ab", "[a, ]"},
        {"ab", "abc", "[ab]"},
        {"abc", "abc", "[, ]"},
    };
    for (const auto& row : CASES)
        EXPECT_EQ(string_ptr(row.text)->Split(row.separator)->ToString(), row.expected) << row.text;
    EXPECT_EQ(String::EMPTY->Split(",")->Length(), 1);
    EXPECT_EQ(string_ptr(",")->Split(",")->Length(), 2);
}

TEST(String, GivesTheVeryTextWhereTheSeparatorIsMissing) {
    const string_ptr text = "v2.1.0";

    const auto parts = text->Split(";");

    EXPECT_EQ(parts->Length(), 1);
    EXPECT_EQ(&*(*parts)[0], &*text);
}

TEST(String, RejectsASeparatorThatIsEmptyOrNull) {
    ExpectException<ArgumentException>("The separator must not be empty", [] { string_ptr("a")->Split(""); });
    ExpectException<ArgumentNullException>(Null("separator"), [] { string_ptr("a")->Split(nullptr); });
}

TEST(String, RepeatsACodeUnit) {
    EXPECT_EQ(String::FromChars('x', 3), "xxx");
    EXPECT_EQ(String::FromChars(0x20AC, 1), u"\u20AC");
    EXPECT_EQ(String::FromChars(0, 2)->View(), std::u16string_view(u"\0\0", 2));
    EXPECT_EQ(&*String::FromChars('x', 0), &*String::EMPTY);
    ExpectException<ArgumentOutOfRangeException>("The argument \"count\" is -1 and must not be less than zero",
                                                 [] { EXPECT_FALSE(String::FromChars('x', -1)); });
}

TEST(String, TakesCodeUnitsFromAnArray) {
    const std::shared_ptr<IArray<unsigned short>> chars = Array<unsigned short>::Create({'a', 0xD800, 'c'});

    EXPECT_EQ(String::FromArray(chars, 0, 3), u"a\xD800"
                                              u"c");
    EXPECT_EQ(String::FromArray(chars, 1, 1), u"\xD800");
    EXPECT_EQ(String::FromArray(chars, 2, 1), "c");
    EXPECT_EQ(&*String::FromArray(chars, 3, 0), &*String::EMPTY);
    ExpectException<ArgumentNullException>(Null("chars"), [] { EXPECT_FALSE(String::FromArray(nullptr, 0, 0)); });
}

TEST(String, GivesANewArrayOfItsCodeUnits) {
    const string_ptr text = u"a\u20AC";

    const auto chars = text->ToCharArray();
    (*chars)[0] = 'b';

    EXPECT_EQ(chars->ToString(), "[98, 8364]");
    EXPECT_EQ(text, u"a\u20AC");
    EXPECT_EQ(String::EMPTY->ToCharArray()->Length(), 0);
}

TEST(String, WritesItselfInUtf8) {
    EXPECT_EQ(string_ptr(u"a\u00e9\u20AC\U0001F600")->ToUtf8(), "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80");
    EXPECT_EQ(string_ptr(u"\xD800!")->ToUtf8(), "\xEF\xBF\xBD!");
    EXPECT_EQ(String::EMPTY->ToUtf8(), "");
}

TEST(String, IsEqualToAnyTextOfTheSameContent) {
    const string_ptr text = "abc", same = std::string("abc"), other = "abd";
    const std::shared_ptr<Object> builder = [] {
        auto made = Text::StringBuilder::Create();
        made->Append("abc");
        return made;
    }();

    EXPECT_TRUE(text->Equals(text));
    EXPECT_TRUE(text->Equals(same));
    EXPECT_FALSE(text->Equals(other));
    EXPECT_FALSE(text->Equals(nullptr));
    EXPECT_FALSE(text->Equals(builder));
    EXPECT_EQ(text->GetHashCode(), same->GetHashCode());
    EXPECT_NE(text->GetHashCode(), other->GetHashCode());
    EXPECT_EQ(static_cast<std::size_t>(static_cast<unsigned>(text->GetHashCode())), std::hash<string_ptr>()(text));
}

TEST(String, IsItsOwnText) {
    const string_ptr text = "abc";

    EXPECT_EQ(&*text->ToString(), &*text);
}

TEST(String, SharesOneEmptyText) {
    const string_ptr text = "abc";

    EXPECT_EQ(&*string_ptr(""), &*String::EMPTY);
    EXPECT_EQ(&*string_ptr(u""), &*String::EMPTY);
    EXPECT_EQ(&*string_ptr(std::string()), &*String::EMPTY);
    EXPECT_EQ(&*text->Substring(1, 0), &*String::EMPTY);
    EXPECT_EQ(&*(string_ptr() + nullptr), &*String::EMPTY);
    EXPECT_EQ(&*(*string_ptr(",")->Split(","))[1], &*String::EMPTY);
}

TEST(String, IsReadByManyThreadsAtOnce) {
    const string_ptr text = "one text, many readers";
    const std::size_t expected = std::hash<string_ptr>()("one text, many readers");
    std::vector<std::thread> threads;
    std::vector<std::size_t> hashes(16);

    for (std::size_t i = 0; i < hashes.size(); ++i)
        threads.emplace_back([&, i] {
            const string_ptr own = text;
            hashes[i] = std::hash<string_ptr>()(own);
            EXPECT_EQ(own->Substring(4, 4) + "s", "texts");
        });
    for (std::thread& thread : threads)
        thread.join();

    EXPECT_EQ(std::set<std::size_t>(hashes.begin(), hashes.end()), std::set<std::size_t>{expected});
}

TEST(String, SurvivesEveryAllocationFailure) {
    const long allocations = TestSupport::FailEachAllocation([] {
        const string_ptr text = "a,b";
        EXPECT_EQ(text->Split(",")->Length(), 2);
        EXPECT_EQ(text->Split(";")->Length(), 1);
        EXPECT_EQ(String::FromArray(text->ToCharArray(), 0, 1), "a");
        EXPECT_EQ(String::FromChars('a', 40)->ToUtf8().size(), 40u);
    });

    EXPECT_GT(allocations, 10);
}

} // namespace

TEST(String, SpreadsTheHashesOfSimilarTexts) {
    std::set<std::size_t> hashes;

    for (const char* name : {"k", "key", "key_", "key_of_", "key_of_many_"})
        for (int i = 0; i < 2000; ++i)
            hashes.insert(std::hash<string_ptr>()(string_ptr(name + std::to_string(i))));

    EXPECT_GE(hashes.size(), 9990u);
}
