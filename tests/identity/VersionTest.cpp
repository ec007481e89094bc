// SPDX-License-Identifier: Apache-2.0
#include <velrix/identity/Version.h>

#include <memory>
#include <string>
#include <type_traits>

#include <gtest/gtest.h>

#include <System/Exceptions.h>

#include "tests/support/AllocationFailure.h"
#include "tests/support/ExpectException.h"
#include "tests/support/VirtualSlot.h"

using System::string_ptr;
using TestSupport::ExpectException;
using Velrix::Version;

namespace {

std::string Numbers(const std::shared_ptr<Version>& version) {
    return std::to_string(version->Major) + " " + std::to_string(version->Minor) + " " + std::to_string(version->Build);
}

} // namespace

TEST(Version, KeepsItsThreeNumbers) {
    const auto version = Version::Create(1, 4, 255);

    EXPECT_EQ(version->Major, 1);
    EXPECT_EQ(version->Minor, 4);
    EXPECT_EQ(version->Build, 255);
}

TEST(Version, CannotBeChanged) {
    EXPECT_TRUE((std::is_same_v<decltype(Version::Major), const unsigned char>));
    EXPECT_TRUE((std::is_same_v<decltype(Version::Minor), const unsigned char>));
    EXPECT_TRUE((std::is_same_v<decltype(Version::Build), const unsigned char>));
}

TEST(Version, ShowsItsNumbersWithoutPadding) {
    EXPECT_EQ(Version::Create(1, 0, 7)->ToString(), "1.0.7");
    EXPECT_EQ(Version::Create(0, 0, 0)->ToString(), "0.0.0");
    EXPECT_EQ(Version::Create(255, 10, 100)->ToString(), "255.10.100");
}

TEST(Version, ReadsThreeDecimalNumbers) {
    const struct {
        const char* name;
        string_ptr text;
        string_ptr prefix;
        char16_t separator;
        const char* numbers;
    } rows[] = {
        {"with a prefix", "v1.2.3", "v", u'.', "1 2 3"},
        {"without a prefix", "1.2.3", nullptr, u'.', "1 2 3"},
        {"with an empty prefix", "1.2.3", "", u'.', "1 2 3"},
        {"with a long prefix", "version 1.2.3", "version ", u'.', "1 2 3"},
        {"with a prefix of digits", "11.2.3", "1", u'.', "1 2 3"},
        {"with a prefix that holds the separator", "1.2.3.4", "1.", u'.', "2 3 4"},
        {"with the prefix removed only once", "1111.2.3", "11", u'.', "11 2 3"},
        {"with another separator", "v10-20-30", "v", u'-', "10 20 30"},
        {"with a separator beyond ASCII", u"1\u20282\u20283", nullptr, u'\u2028', "1 2 3"},
        {"with the largest numbers", "255.255.255", nullptr, u'.', "255 255 255"},
        {"with nothing but zeros", "0.0.0", nullptr, u'.', "0 0 0"},
        {"with leading zeros", "01.002.0003", nullptr, u'.', "1 2 3"},
        {"cutting 256", "1.256.3", nullptr, u'.', "1 0 3"},
        {"cutting 300", "1.300.3", nullptr, u'.', "1 44 3"},
        {"cutting each of them", "257.258.259", nullptr, u'.', "1 2 3"},
        {"cutting 64 bits", "18446744073709551615.0.18446744073709551361", nullptr, u'.', "255 0 1"},
    };

    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);

        const auto version = Version::FromString(row.text, row.prefix, row.separator);

        EXPECT_EQ(Numbers(version), row.numbers);
    }
}

TEST(Version, ShowsDotsWhateverSeparatorItWasReadWith) {
    EXPECT_EQ(Version::FromString("1-2-3", nullptr, '-')->ToString(), "1.2.3");
}

TEST(Version, RefusesATextWithoutThePrefixByThePrefix) {
    const struct {
        const char* text;
        const char* prefix;
    } rows[] = {{"1.2.3", "v"}, {"V1.2.3", "v"}, {" v1.2.3", "v"}, {"", "v"}, {"versio1.2.3", "version"}, {"v", "vv"}};

    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        ExpectException<System::ArgumentException>(row.prefix, [&] { Version::FromString(row.text, row.prefix, '.'); });
    }
}

TEST(Version, RefusesOtherThanThreePartsByTheParts) {
    const struct {
        const char* text;
        const char* prefix;
        const char* message;
    } rows[] = {
        {"1.2", nullptr, "[1, 2]"},
        {"1.2.3.4", nullptr, "[1, 2, 3, 4]"},
        {"1.2.3.", nullptr, "[1, 2, 3, ]"},
        {"1,2,3", nullptr, "[1,2,3]"},
        {"", nullptr, "[]"},
        {"v", "v", "[]"},
        {"v1.2", "v", "[1, 2]"},
        {"a.b", nullptr, "[a, b]"}, // before parsing any number
    };

    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        ExpectException<System::ArgumentException>(row.message,
                                                   [&] { Version::FromString(row.text, row.prefix, '.'); });
    }
}

TEST(Version, PassesOnWhatTheConversionOfAPartThrows) {
    const struct {
        const char* text;
        const char* shown; // part of the message: the first part that is no number
    } rows[] = {
        {"1..3", "\"\""}, {".2.3", "\"\""},    {"1.2.", "\"\""}, {"1.2.x", "x"},   {"a.b.c", "a"},
        {"1.b.c", "b"},   {"1.2.3\n", "3\\n"}, {"1.2.3 ", "3 "}, {" 1.2.3", " 1"}, {"1.-2.3", "-2"},
        {"1.+2.3", "+2"}, {"0x1.2.3", "0x1"},  {"v1.2.3", "v1"},
    };

    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        try {
            Version::FromString(row.text, nullptr, '.');
            ADD_FAILURE() << "nothing was thrown";
        } catch (const System::FormatException& exception) {
            EXPECT_NE(std::string(exception.what()).find(row.shown), std::string::npos) << exception.what();
        }
    }
    EXPECT_THROW(Version::FromString("1.18446744073709551616.3", nullptr, '.'), System::OverflowException);
}

TEST(Version, NeedsAText) {
    EXPECT_THROW(Version::FromString(nullptr, nullptr, '.'), System::NullReferenceException);
    EXPECT_THROW(Version::FromString(nullptr, "v", '.'), System::NullReferenceException);
}

TEST(Version, EqualsAnotherOneWithTheSameNumbers) {
    const auto version = Version::Create(1, 2, 3);

    EXPECT_TRUE(version->Equals(version));
    EXPECT_TRUE(version->Equals(Version::Create(1, 2, 3)));
    EXPECT_TRUE(version->Equals(Version::FromString("v1.2.259", "v", '.')));
    EXPECT_FALSE(version->Equals(Version::Create(2, 2, 3)));
    EXPECT_FALSE(version->Equals(Version::Create(1, 3, 3)));
    EXPECT_FALSE(version->Equals(Version::Create(1, 2, 4)));
    EXPECT_FALSE(version->Equals(std::shared_ptr<Version>()));
}

TEST(Version, EqualsNoNull) {
    const auto version = Version::Create(0, 0, 0);
    const std::shared_ptr<const Version> constant = version;

    EXPECT_FALSE(version->Equals(nullptr));
    EXPECT_FALSE(version->Equals({}));
    EXPECT_FALSE(constant->Equals(nullptr));
    EXPECT_FALSE(constant->Equals({}));
}

TEST(Version, CanBeComparedWhereItIsConstant) {
    const std::shared_ptr<const Version> version = Version::Create(1, 2, 3);

    EXPECT_TRUE(version->Equals(Version::Create(1, 2, 3)));
    EXPECT_FALSE(version->Equals(Version::Create(1, 2, 4)));
}

TEST(Version, ComparesAsAnObjectByIdentity) {
    const std::shared_ptr<System::Object> version = Version::Create(1, 2, 3);
    const std::shared_ptr<System::Object> same = Version::Create(1, 2, 3);

    EXPECT_TRUE(version->Equals(version));
    EXPECT_FALSE(version->Equals(same));
    EXPECT_FALSE(std::static_pointer_cast<Version>(version)->Equals(same));
}

TEST(Version, AddsNoVirtualOperation) {
    using EqualsVersion = bool (Version::*)(std::shared_ptr<Version>) const;
    using EqualsVersionToo = bool (Version::*)(std::shared_ptr<Version>);
    using EqualsNull = bool (Version::*)(std::nullptr_t);

    EXPECT_EQ(TestSupport::SlotOf(static_cast<EqualsVersion>(&Version::Equals)), -1);
    EXPECT_EQ(TestSupport::SlotOf(static_cast<EqualsVersionToo>(&Version::Equals)), -1);
    EXPECT_EQ(TestSupport::SlotOf(static_cast<EqualsNull>(&Version::Equals)), -1);
    EXPECT_EQ(TestSupport::SlotOf(&Version::ToString), TestSupport::SlotOf(&System::Object::ToString));
}

TEST(Version, SurvivesEveryAllocationFailure) {
    const long failures = TestSupport::FailEachAllocation([] {
        const auto version = Version::FromString("v1.2.3", "v", '.');
        version->ToString();
        version->Equals(Version::Create(1, 2, 3));
    });

    EXPECT_GT(failures, 5);
}

TEST(Version, SurvivesEveryAllocationFailureOfItsRefusals) {
    const System::string_ptr texts[] = {"1.2.3", "v1.2", "v1.2.x"};
    const System::string_ptr prefix = "v";

    for (const auto& text : texts) {
        const long failures = TestSupport::FailEachAllocation([&] {
            try {
                Version::FromString(text, prefix, '.');
                ADD_FAILURE() << "nothing was thrown";
            } catch (const System::Exception&) {
            }
        });

        EXPECT_GT(failures, 0);
    }
}
