// SPDX-License-Identifier: Apache-2.0
#include <velrix/settings/DpramSection.h>

#include <climits>
#include <string>

#include <gtest/gtest.h>

#include <System/Collections/Generic/Exceptions.h>
#include <System/Exceptions.h>
#include <System/Raisers.h>

#include "tests/settings/Sections.h"
#include "tests/support/AllocationFailure.h"
#include "tests/support/ExpectException.h"

using System::ArgumentNullException;
using System::ArgumentOutOfRangeException;
using System::string_ptr;
using System::Collections::Generic::KeyNotFoundException;
using TestSupport::ExpectException;
using TestSupport::MakeSection;
using Velrix::Settings::DpramSection;

namespace {

// "length 8192, offset 4096, path /dev/mem".
std::string FieldsOf(DpramSection& section) {
    return "length " + std::to_string(section.length) + ", offset " + std::to_string(section.offset) + ", path " +
           TestSupport::TextOf(section.path);
}

std::string NotLess(long long value, const char* name) {
    try {
        System::_throw_not_less_exception(value, 0, name, "zero");
    } catch (const ArgumentOutOfRangeException& exception) {
        return exception.what();
    }
}

} // namespace

TEST(DpramSection, HoldsWhatItIsMadeOf) {
    EXPECT_EQ(FieldsOf(*DpramSection::Create("/dev/mem", 0x44000000, 8192)),
              "length 8192, offset 1140850688, path /dev/mem");
    EXPECT_EQ(FieldsOf(*DpramSection::Create("", 0, 0)), "length 0, offset 0, path ");
    EXPECT_EQ(FieldsOf(*DpramSection::Create("p", INT_MAX, INT_MAX)), "length 2147483647, offset 2147483647, path p");
    EXPECT_EQ(DpramSection::Create("p", 0, 0)->ToString(), "Velrix::Settings::DpramSection");
}

TEST(DpramSection, ChecksPathThenOffsetThenLength) {
    const struct {
        const char* path;
        int offset, length;
        std::string message;
    } rows[] = {
        {nullptr, -1, -1, ArgumentNullException("path").what()},
        {nullptr, 0, 0, ArgumentNullException("path").what()},
        {"p", -1, -2, NotLess(-1, "offset")},
        {"p", INT_MIN, 0, NotLess(INT_MIN, "offset")},
        {"p", 0, -1, NotLess(-1, "length")},
        {"p", 0, INT_MIN, NotLess(INT_MIN, "length")},
    };

    for (const auto& [path, offset, length, message] : rows) {
        const auto create = [&, path = path, offset = offset, length = length] {
            DpramSection::Create(path, offset, length);
        };
        if (path)
            ExpectException<ArgumentOutOfRangeException>(message, create);
        else
            ExpectException<ArgumentNullException>(message, create);
    }
}

TEST(DpramSection, NamesTheArgumentThatIsNegative) {
    for (const auto& [offset, length, name] : {std::tuple(-1, 0, "offset"), std::tuple(0, -1, "length")})
        try {
            DpramSection::Create("p", offset, length);
            ADD_FAILURE() << name;
        } catch (const ArgumentOutOfRangeException& exception) {
            EXPECT_EQ(exception.ParamName(), name);
        }
}

TEST(DpramSection, KnowsAKeyForEveryField) {
    EXPECT_EQ(TestSupport::KeysOf(*DpramSection::KEY_HANDLERS.Value()), "length offset path");
    EXPECT_EQ(sizeof(DpramSection), sizeof(System::Object) + 2 * sizeof(int) + sizeof(string_ptr))
        << "a field without a key";
    const auto section = DpramSection::Create("p", 0, 0);
    EXPECT_LT(static_cast<void*>(&section->length), static_cast<void*>(&section->offset));
    EXPECT_LT(static_cast<void*>(&section->offset), static_cast<void*>(&section->path));
}

TEST(DpramSection, StartsFromNothingWhenTheFileHasTheSection) {
    const struct {
        std::initializer_list<std::pair<const char*, const char*>> pairs;
        const char* expected;
    } rows[] = {
        {{}, "length 0, offset 0, path null"},
        {{{"offset", "42000000"}}, "length 0, offset 1107296256, path null"},
        {{{"length", "2000"}}, "length 8192, offset 0, path null"},
        {{{"path", "/dev/mem"}}, "length 0, offset 0, path /dev/mem"},
        {{{"path", "/dev/mem"}, {"offset", "44000000"}, {"length", "2000"}},
         "length 8192, offset 1140850688, path /dev/mem"},
        {{{"path", ""}}, "length 0, offset 0, path "},
    };

    for (const auto& [pairs, expected] : rows)
        EXPECT_EQ(FieldsOf(*DpramSection::FromSectionDictionary(MakeSection(pairs))), expected);
}

TEST(DpramSection, ReadsNumbersAsHexadecimalAndKeepsTheirLow32Bits) {
    const struct {
        const char* text;
        int expected;
    } rows[] = {
        {"0", 0},
        {"1000", 4096},
        {"2000", 8192},
        {"8192", 0x8192},
        {"fF", 255},
        {"0x10", 16},
        {"7FFFFFFF", INT_MAX},
        {"80000000", INT_MIN},
        {"FFFFFFFF", -1},
        {"100000000", 0},
        {"123456789", 0x23456789},
        {"FFFFFFFFFFFFFFFF", -1},
        {"8000000000000001", 1},
    };

    for (const auto& [text, expected] : rows) {
        const auto section = DpramSection::Create("p", 7, 8);
        DpramSection::HandleLength(section, text);
        EXPECT_EQ(section->length, expected) << text;
        EXPECT_EQ(section->offset, 7);
        DpramSection::HandleOffset(section, text);
        EXPECT_EQ(section->offset, expected) << text;
    }
}

TEST(DpramSection, RejectsWhatIsNoNumberAndStaysAsItWas) {
    const auto section = DpramSection::Create("p", 7, 8);

    for (const char* text : {"", "12G", "-1", "+1", " 1", "1 ", "0x", "1.0", "/"}) {
        EXPECT_THROW(DpramSection::HandleLength(section, text), System::FormatException) << text;
        EXPECT_THROW(DpramSection::HandleOffset(section, text), System::FormatException) << text;
        EXPECT_THROW(DpramSection::FromSectionDictionary(MakeSection({{"length", text}})), System::FormatException)
            << text;
        EXPECT_THROW(DpramSection::FromSectionDictionary(MakeSection({{"offset", text}})), System::FormatException)
            << text;
    }
    EXPECT_THROW(DpramSection::HandleLength(section, "10000000000000000"), System::OverflowException);
    EXPECT_THROW(DpramSection::HandleOffset(section, nullptr), ArgumentNullException);
    EXPECT_EQ(FieldsOf(*section), "length 8, offset 7, path p");
}

TEST(DpramSection, RejectsAKeyThatItDoesNotKnow) {
    for (const char* key : {"size", "Length", "address", ""})
        ExpectException<KeyNotFoundException>(key, [&] {
            DpramSection::FromSectionDictionary(MakeSection({{key, "1"}}));
        });
}

TEST(DpramSection, NeedsPairsAndASection) {
    const std::string message = ArgumentNullException("section").what();

    ExpectException<ArgumentNullException>(message, [] { DpramSection::FromSectionDictionary(nullptr); });
    ExpectException<ArgumentNullException>(message, [] { DpramSection::HandleLength(nullptr, "1"); });
    ExpectException<ArgumentNullException>(message, [] { DpramSection::HandleOffset(nullptr, "1"); });
    ExpectException<ArgumentNullException>(ArgumentNullException("owner").what(), [] {
        (*DpramSection::KEY_HANDLERS.Value())["path"]->Invoke(nullptr, "/x");
    });
}

TEST(DpramSection, SurvivesEveryAllocationFailure) {
    const auto pairs = MakeSection({{"path", "/dev/mem"}, {"offset", "1"}, {"length", "2"}});

    TestSupport::FailEachAllocation([&] { EXPECT_EQ(DpramSection::FromSectionDictionary(pairs)->length, 2); });
    TestSupport::FailEachAllocation([] { EXPECT_EQ(DpramSection::Create("/dev/mem", 1, 2)->offset, 1); });
}
