// SPDX-License-Identifier: Apache-2.0
#include <System/Text/Encoding.h>

#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include <System/Exceptions.h>

#include "tests/support/AllocationFailure.h"
#include "tests/support/ExpectException.h"

namespace {

using namespace System;
using Collections::Generic::Array;
using Collections::Generic::IArray;
using System::Text::Encoding;

// Used in the constructor of another file's static.
const std::shared_ptr<Array<unsigned char>> earlyBytes = Encoding::ASCII->GetBytes("early");

std::string Bytes(const std::shared_ptr<Encoding>& encoding, string_ptr text) {
    const auto bytes = encoding->GetBytes(text);
    return {bytes->begin(), bytes->end()};
}

string_ptr Text(const std::shared_ptr<Encoding>& encoding, std::string_view bytes) {
    const auto array = Array<unsigned char>::Create(static_cast<int>(bytes.size()));
    for (std::size_t i = 0; i < bytes.size(); ++i)
        (*array)[static_cast<int>(i)] = static_cast<unsigned char>(bytes[i]);
    return encoding->GetString(array);
}

TEST(Encoding, WritesAsciiWithAQuestionMarkForEveryOtherCodePoint) {
    EXPECT_EQ(Bytes(Encoding::ASCII, ""), "");
    EXPECT_EQ(Bytes(Encoding::ASCII, "heartbeat\n"), "heartbeat\n");
    EXPECT_EQ(Bytes(Encoding::ASCII, u"\u007f\u0080\u00ff"), "\x7f??");
    EXPECT_EQ(Bytes(Encoding::ASCII, u"a\u20ACb"), "a?b");
    EXPECT_EQ(Bytes(Encoding::ASCII, u"a\U0001F600b"), "a?b");
    EXPECT_EQ(Bytes(Encoding::ASCII, u"\xD800x\xDC00"), "?x?");
    EXPECT_EQ(Bytes(Encoding::ASCII, u"\u0141"), "?");
}

TEST(Encoding, ReadsAsciiWithTheReplacementForEveryOtherByte) {
    EXPECT_EQ(Text(Encoding::ASCII, ""), "");
    EXPECT_EQ(Text(Encoding::ASCII, "a\x7f"), u"a\u007f");
    EXPECT_EQ(Text(Encoding::ASCII, "\x80\xffz\xC3\xA9"), u"\uFFFD\uFFFDz\uFFFD\uFFFD");
}

TEST(Encoding, WritesUtf8) {
    EXPECT_EQ(Bytes(Encoding::UTF8, ""), "");
    EXPECT_EQ(Bytes(Encoding::UTF8, u"a\u00e9\u20AC\U0001F600"), "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80");
    EXPECT_EQ(Bytes(Encoding::UTF8, u"\xD800x"), "\xEF\xBF\xBDx");
}

TEST(Encoding, ReadsUtf8) {
    EXPECT_EQ(Text(Encoding::UTF8, ""), "");
    EXPECT_EQ(Text(Encoding::UTF8, "a\xC3\xA9\xF0\x9F\x98\x80"), u"a\u00e9\U0001F600");
    EXPECT_EQ(Text(Encoding::UTF8, "\xE2\x82!\xff"), u"\uFFFD!\uFFFD");
}

TEST(Encoding, RejectsNull) {
    for (const auto& encoding : {Encoding::ASCII, Encoding::UTF8}) {
        TestSupport::ExpectException<ArgumentNullException>("The argument \"text\" must not be null",
                                                            [&] { encoding->GetBytes(nullptr); });
        TestSupport::ExpectException<ArgumentNullException>("The argument \"bytes\" must not be null",
                                                            [&] { encoding->GetString(nullptr); });
    }
}

TEST(Encoding, IsReadyForTheStaticsOfOtherFiles) {
    EXPECT_EQ(earlyBytes->Length(), 5);
}

TEST(Encoding, SurvivesEveryAllocationFailure) {
    const long allocations = TestSupport::FailEachAllocation([] {
        for (const auto& encoding : {Encoding::ASCII, Encoding::UTF8})
            EXPECT_EQ(encoding->GetString(encoding->GetBytes("a text of its own room")), "a text of its own room");
    });

    EXPECT_GT(allocations, 6);
}

} // namespace
