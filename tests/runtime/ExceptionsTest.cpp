// SPDX-License-Identifier: Apache-2.0
#include <System/Exceptions.h>

#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <typeinfo>

#include <gtest/gtest.h>

#include <System/Collections/Generic/Exceptions.h>

#include "tests/support/AllocationFailure.h"
#include "tests/support/ExpectException.h"

namespace {

using namespace System;

template <class T>
constexpr bool IsValue = std::is_nothrow_copy_constructible_v<T>&& std::is_nothrow_copy_assignable_v<T>;
static_assert(IsValue<Exception> && IsValue<ArgumentException> && IsValue<ArgumentNullException>);
static_assert(IsValue<ArgumentOutOfRangeException> && IsValue<FormatException> && IsValue<OverflowException>);
static_assert(IsValue<NotSupportedException> && IsValue<InvalidOperationException> && IsValue<NullReferenceException>);
static_assert(IsValue<ObjectDisposedException> && IsValue<TimeoutException>);
static_assert(IsValue<Collections::Generic::KeyNotFoundException>);
static_assert(std::is_base_of_v<std::exception, Exception>);
static_assert(std::is_base_of_v<ArgumentException, ArgumentNullException>);
static_assert(std::is_base_of_v<ArgumentException, ArgumentOutOfRangeException>);
static_assert(!std::is_base_of_v<ArgumentException, FormatException>);

TEST(Exception, HasAnEmptyMessageAndNoInnerOneByDefault) {
    const Exception exception;

    EXPECT_EQ(exception.Message(), "");
    EXPECT_STREQ(exception.what(), "");
    EXPECT_EQ(exception.InnerException(), nullptr);
    EXPECT_EQ(exception.ToString(), "System::Exception");
}

TEST(Exception, CountsANullMessageAsTheEmptyOne) {
    const Exception exception{string_ptr()};

    EXPECT_EQ(exception.Message(), "");
    EXPECT_EQ(exception.ToString(), "System::Exception");
}

TEST(Exception, KeepsItsMessageInBothForms) {
    const string_ptr message = u"\u20AC \U0001F600";

    const Exception exception(message);

    EXPECT_EQ(&*exception.Message(), &*message);
    EXPECT_STREQ(exception.what(), "\xE2\x82\xAC \xF0\x9F\x98\x80");
    EXPECT_EQ(exception.ToString(), u"System::Exception: \u20AC \U0001F600");
}

TEST(Exception, ShowsTheInnerOnesBehindItself) {
    const auto innermost = std::make_shared<TimeoutException>("too late");
    const auto inner = std::make_shared<const OverflowException>(string_ptr(), innermost);

    const FormatException outer("bad file", inner);

    EXPECT_EQ(outer.InnerException(), inner);
    EXPECT_EQ(outer.ToString(), "System::FormatException: bad file ---> System::OverflowException ---> "
                                "System::TimeoutException: too late");
}

TEST(Exception, SharesItsContentAmongCopies) {
    std::optional<FormatException> original(std::in_place, "a message that is longer than a short string's buffer");
    const char* const text = original->what();

    const FormatException copy = *original;
    FormatException assigned;
    assigned = copy;
    original.reset();

    EXPECT_EQ(copy.what(), text);
    EXPECT_EQ(assigned.what(), text);
    EXPECT_STREQ(copy.what(), "a message that is longer than a short string's buffer");
}

TEST(Exception, CopiesWithoutAnAllocation) {
    const ArgumentNullException original("name");

    const TestSupport::AllocationFailure counter;
    const ArgumentNullException copy = original;

    EXPECT_EQ(counter.Count(), 0);
    EXPECT_EQ(&*copy.ParamName(), &*original.ParamName());
}

TEST(Exception, NamesTheParameterThatIsNull) {
    const ArgumentNullException exception("path");

    EXPECT_EQ(exception.ParamName(), "path");
    EXPECT_STREQ(exception.what(), "The argument \"path\" must not be null");
    EXPECT_EQ(ArgumentNullException().ParamName(), "");
    EXPECT_STREQ(ArgumentNullException().what(), "An argument must not be null");
    EXPECT_EQ(ArgumentNullException(nullptr).ParamName(), "");
    EXPECT_STREQ(ArgumentNullException(nullptr).what(), "An argument must not be null");
}

TEST(Exception, NamesTheParameterThatIsOutOfRange) {
    const ArgumentOutOfRangeException exception("index"), own("width", "width is odd"), none;

    EXPECT_EQ(exception.ParamName(), "index");
    EXPECT_STREQ(exception.what(), "The argument \"index\" is out of range");
    EXPECT_EQ(own.ParamName(), "width");
    EXPECT_STREQ(own.what(), "width is odd");
    EXPECT_EQ(none.ParamName(), "");
    EXPECT_STREQ(none.what(), "An argument is out of range");
    EXPECT_EQ(ArgumentOutOfRangeException(nullptr, nullptr).ParamName(), "");
    EXPECT_STREQ(ArgumentOutOfRangeException(nullptr, nullptr).what(), "");
}

template <class T>
void ExpectMember(const char* name) {
    SCOPED_TRACE(name);
    const auto inner = std::make_shared<const Exception>("cause");
    const T exception("text", inner);
    EXPECT_EQ(exception.ToString(), std::string(name) + ": text ---> System::Exception: cause");
    EXPECT_EQ(exception.InnerException(), inner);
    try {
        throw T("thrown");
    } catch (const Exception& caught) {
        EXPECT_EQ(typeid(caught), typeid(T));
        EXPECT_STREQ(caught.what(), "thrown");
    }
    const std::unique_ptr<const std::exception> owned(new T("owned"));
    EXPECT_STREQ(owned->what(), "owned");
    try {
        throw T();
    } catch (const std::exception& caught) {
        EXPECT_STREQ(caught.what(), "");
    }
}

TEST(Exception, HasAFamilyWhoseMembersKeepTheirTypes) {
    ExpectMember<Exception>("System::Exception");
    ExpectMember<ArgumentException>("System::ArgumentException");
    ExpectMember<FormatException>("System::FormatException");
    ExpectMember<OverflowException>("System::OverflowException");
    ExpectMember<NotSupportedException>("System::NotSupportedException");
    ExpectMember<InvalidOperationException>("System::InvalidOperationException");
    ExpectMember<NullReferenceException>("System::NullReferenceException");
    ExpectMember<ObjectDisposedException>("System::ObjectDisposedException");
    ExpectMember<TimeoutException>("System::TimeoutException");
    ExpectMember<Collections::Generic::KeyNotFoundException>("System::Collections::Generic::KeyNotFoundException");
    EXPECT_EQ(ArgumentNullException("a").ToString(),
              "System::ArgumentNullException: The argument \"a\" must not be null");
    EXPECT_EQ(ArgumentOutOfRangeException("a").ToString(),
              "System::ArgumentOutOfRangeException: The argument \"a\" is out of range");
}

TEST(Exception, SurvivesEveryAllocationFailure) {
    const long allocations = TestSupport::FailEachAllocation([] {
        const auto inner = std::make_shared<const ArgumentOutOfRangeException>("a name that needs room of its own");
        const FormatException exception("a message that is longer than a short string's buffer", inner);
        EXPECT_EQ(exception.ToString()->Length(), 185);
    });

    EXPECT_GT(allocations, 8);
}

} // namespace
