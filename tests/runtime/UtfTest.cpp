// SPDX-License-Identifier: Apache-2.0
#include "runtime/Utf.h"

#include <string>
#include <string_view>

#include <gtest/gtest.h>

namespace {

using namespace System;

// Tests both directions with guard units around the text, to detect overruns.
std::u16string Decoded(std::string_view utf8) {
    const std::size_t count = Utf::CountUnits(utf8);
    std::u16string units(count + 1, u'#');
    EXPECT_EQ(Utf::Decode(utf8, units.data()), units.data() + count);
    EXPECT_EQ(units.back(), u'#');
    units.pop_back();
    return units;
}

std::string Encoded(std::u16string_view units) {
    std::string utf8 = "#";
    Utf::Append(utf8, units);
    EXPECT_EQ(utf8.front(), '#');
    return utf8.substr(1);
}

TEST(Utf, DecodesWellFormedSequencesAtTheirLimits) {
    using namespace std::string_view_literals;
    const struct {
        std::string_view utf8;
        std::u16string_view units;
    } CASES[] = {
        {""sv, u""sv},
        {"\0"sv, u"\0"sv},
        {"A\x7f"sv, u"A\u007f"sv},
        {"\xC2\x80"sv, u"\u0080"sv},
        {"\xDF\xBF"sv, u"\u07FF"sv},
        {"\xE0\xA0\x80"sv, u"\u0800"sv},
        {"\xED\x9F\xBF"sv, u"\uD7FF"sv},
        {"\xEE\x80\x80"sv, u"\uE000"sv},
        {"\xEF\xBF\xBF"sv, u"\uFFFF"sv},
        {"\xF0\x90\x80\x80"sv, u"\xD800\xDC00"sv},
        {"\xF0\x9F\x98\x80"sv, u"\xD83D\xDE00"sv},
        {"\xF4\x8F\xBF\xBF"sv, u"\xDBFF\xDFFF"sv},
        {"\xEF\xBB\xBF"sv, u"\uFEFF"sv},
        {"eight ASCII and more \xE2\x82\xAC behind"sv, u"eight ASCII and more \u20AC behind"sv},
    };
    for (const auto& row : CASES) {
        EXPECT_EQ(Decoded(row.utf8), row.units);
        EXPECT_EQ(Encoded(row.units), row.utf8);
    }
}

TEST(Utf, DecodesEachMaximalIllFormedPartAsOneReplacement) {
    // "?" in the expectations is the replacement character.
    const struct {
        const char* utf8;
        const char16_t* expected;
    } CASES[] = {
        {"\x80", u"?"}, // a lone continuation byte
        {"\xBF", u"?"},
        {"a\x80\x80z", u"a??z"},
        {"\xC0\xAF", u"??"}, // overlong in two bytes
        {"\xC1\xBF", u"??"},
        {"\xC2", u"?"}, // truncated
        {"\xC2\x41", u"?A"},
        {"\xC2\x7F", u"?\x7F"},
        {"\xC2\xC0", u"??"},
        {"\xC2\xC2\x80", u"?\x80"},
        {"\xDF\xC0", u"??"},
        {"\xE0\x80\x80", u"???"}, // overlong in three bytes
        {"\xE0\x9F\xBF", u"???"},
        {"\xE0\xA0", u"?"},
        {"\xE0\xA0\x7F", u"?\x7F"},
        {"\xE0\xC0\x80", u"???"},
        {"\xE1\x80\xE2\xF0\x91\x92\xF1\xBF\x41", u"????A"},
        {"\xE2\x82", u"?"},
        {"\xE2\x82\x41", u"?A"},
        {"\xE2\x82\xC0", u"??"},
        {"\xE2\x41\x82", u"?A?"},
        {"\xED\xA0\x80", u"???"}, // surrogates
        {"\xED\xAF\xBF", u"???"},
        {"\xED\xBF\xBF", u"???"},
        {"\xED\x9F", u"?"},
        {"\xED\x7F\x80", u"?\x7F?"},
        {"\xEE\x80\x7F", u"?\x7F"},
        {"\xF0\x80\x80\x80", u"????"}, // overlong in four bytes
        {"\xF0\x8F\xBF\xBF", u"????"},
        {"\xF0\x90", u"?"},
        {"\xF0\x9F\x98", u"?"},
        {"\xF0\x9F\x98\x41", u"?A"},
        {"\xF0\x9F\x41\x98", u"?A?"},
        {"\xF0\xC0\x80\x80", u"????"},
        {"\xF3\xBF\xBF\xC0", u"??"},
        {"\xF4\x90\x80\x80", u"????"}, // beyond U+10FFFF
        {"\xF4\x8F\xBF", u"?"},
        {"\xF4\x7F\x80", u"?\x7F?"},
        {"\xF5\x80\x80\x80", u"????"},
        {"\xF8\x88\x80\x80\x80", u"?????"},
        {"\xFE\xFF", u"??"},
        {"eight ASCII\x80 and more\xE2\x82", u"eight ASCII? and more?"},
    };
    for (const auto& row : CASES) {
        std::u16string expected = row.expected;
        for (char16_t& unit : expected)
            if (unit == u'?')
                unit = 0xFFFD;
        EXPECT_EQ(Decoded(row.utf8), expected) << testing::PrintToString(row.utf8);
    }
}

TEST(Utf, EncodesAnUnpairedSurrogateAsTheReplacement) {
    const struct {
        std::u16string_view units;
        const char* expected;
    } CASES[] = {
        {u"\xD800", "\xEF\xBF\xBD"},
        {u"\xDBFF", "\xEF\xBF\xBD"},
        {u"\xDC00", "\xEF\xBF\xBD"},
        {u"\xDFFF", "\xEF\xBF\xBD"},
        {u"\xD800\xD800\xDC00", "\xEF\xBF\xBD\xF0\x90\x80\x80"},
        {u"\xDC00\xD800", "\xEF\xBF\xBD\xEF\xBF\xBD"},
        {u"\xD83D!", "\xEF\xBF\xBD!"},
        {u"\xD83D\xE000", "\xEF\xBF\xBD\xEE\x80\x80"},
        {u"\xD83D\xDBFF", "\xEF\xBF\xBD\xEF\xBF\xBD"},
    };
    for (const auto& row : CASES)
        EXPECT_EQ(Encoded(row.units), row.expected);
}

TEST(Utf, BringsEveryCodePointThereAndBack) {
    std::u16string all;
    for (char32_t codePoint = 0; codePoint <= 0x10FFFF; ++codePoint)
        if (codePoint > 0xFFFF) {
            all += static_cast<char16_t>(0xD7C0 + (codePoint >> 10));
            all += static_cast<char16_t>(0xDC00 | (codePoint & 0x3FF));
        } else if (codePoint < 0xD800 || codePoint > 0xDFFF)
            all += static_cast<char16_t>(codePoint);

    const std::string utf8 = Encoded(all);

    EXPECT_EQ(utf8.size(), 0x80u + 2 * 0x780u + 3 * (0xF800u - 0x800u + 0x800u - 0x800u) + 4 * 0x100000u);
    EXPECT_TRUE(Decoded(utf8) == all);
}

TEST(Utf, SeesACharacterBeyondAsciiAtEveryPlaceOfARow) {
    for (const char16_t odd : std::u16string_view(u"\u0080\u00FF\u0100\u4141\u8000\uFF00"))
        for (std::size_t place = 0; place < 20; ++place) {
            std::u16string units(20, u'a');
            units[place] = odd;
            std::string narrow(20, '#');
            EXPECT_FALSE(Utf::Narrow(units, narrow.data())) << place;
            const std::string utf8 = Encoded(units);
            EXPECT_EQ(utf8.size(), 20 + (odd < 0x800 ? 1u : 2u));
            EXPECT_TRUE(Decoded(utf8) == units) << place;

            std::string broken(20, 'a');
            broken[place] = '\x80';
            std::u16string wide(20, u'#');
            EXPECT_FALSE(Utf::Widen(broken, wide.data())) << place;
            EXPECT_EQ(wide[place], 0x80) << place;
            units[place] = Utf::REPLACEMENT;
            EXPECT_TRUE(Decoded(broken) == units) << place;
        }
}

TEST(Utf, CopiesAsciiOfEveryLengthAndNoMore) {
    const std::u16string units = u"as many characters as three strides\u007F";
    const std::string bytes = "as many characters as three strides\x7F";
    for (std::size_t length = 0; length <= bytes.size(); ++length) {
        std::u16string wide(length + 1, u'#');
        std::string narrow(length + 1, '#');
        EXPECT_TRUE(Utf::Widen(std::string_view(bytes).substr(0, length), wide.data())) << length;
        EXPECT_TRUE(Utf::Narrow(std::u16string_view(units).substr(0, length), narrow.data())) << length;
        EXPECT_TRUE(wide == units.substr(0, length) + u'#') << length;
        EXPECT_EQ(narrow, bytes.substr(0, length) + '#');
    }
}

TEST(Utf, CutsAWellFormedTextAnywhereWithoutAStepTooFar) {
    const std::string whole = "plain text \xC2\xA9\xE2\x82\xAC\xF0\x9F\x98\x80 and plain text";
    const std::u16string units = Decoded(whole);

    for (std::size_t length = 0; length <= whole.size(); ++length) {
        const std::u16string part = Decoded(std::string(whole, 0, length));
        const bool cut = !part.empty() && part.back() == Utf::REPLACEMENT;
        EXPECT_TRUE(units.starts_with(part.substr(0, part.size() - (cut ? 1 : 0)))) << length;
    }
}

TEST(Utf, AppendsBehindWhatIsThere) {
    std::string target = "a";

    Utf::Append(target, u"\u20AC");
    Utf::Append(target, u"");

    EXPECT_EQ(target, "a\xE2\x82\xAC");
}

} // namespace
