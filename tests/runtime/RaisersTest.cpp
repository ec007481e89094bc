// SPDX-License-Identifier: Apache-2.0
#include <System/Raisers.h>

#include <climits>

#include <gtest/gtest.h>

#include <System/Exceptions.h>

#include "tests/support/AllocationFailure.h"
#include "tests/support/ExpectException.h"

namespace {

using namespace System;
using TestSupport::ExpectException;

template <class Operation>
string_ptr ParamNameOf(Operation operation) {
    try {
        operation();
    } catch (const ArgumentOutOfRangeException& exception) {
        return exception.ParamName();
    } catch (const ArgumentNullException& exception) {
        return exception.ParamName();
    }
    return nullptr;
}

TEST(Raisers, NameANullArgument) {
    const auto raise = [] { _throw_argument_null_exception("colorProperty"); };

    ExpectException<ArgumentNullException>("The argument \"colorProperty\" must not be null", raise);
    EXPECT_EQ(ParamNameOf(raise), "colorProperty");
}

TEST(Raisers, GiveTheNameTheValueAndTheBound) {
    const auto raise = [] { _throw_not_less_exception(-3, 0, "width", "zero"); };

    ExpectException<ArgumentOutOfRangeException>("The argument \"width\" is -3 and must not be less than zero", raise);
    EXPECT_EQ(ParamNameOf(raise), "width");
}

TEST(Raisers, GiveTheNameTheValueAndTheLimit) {
    const auto raise = [] { _throw_not_greater_exception(101, 100, "percentage", "100"); };

    ExpectException<ArgumentOutOfRangeException>("The argument \"percentage\" is 101 and must not be greater than 100",
                                                 raise);
    EXPECT_EQ(ParamNameOf(raise), "percentage");
}

TEST(Raisers, GiveTheNumberOfABoundWithoutAName) {
    ExpectException<ArgumentOutOfRangeException>(
        "The argument \"a\" is -9223372036854775808 and must not be less than 9223372036854775807",
        [] { _throw_not_less_exception(LLONG_MIN, LLONG_MAX, "a", nullptr); });
    ExpectException<ArgumentOutOfRangeException>("The argument \"a\" is 8 and must not be greater than 7",
                                                 [] { _throw_not_greater_exception(8, 7, "a", ""); });
}

TEST(Raisers, SurviveEveryAllocationFailure) {
    const long allocations = TestSupport::FailEachAllocation([] {
        try {
            _throw_not_greater_exception(101, 100, "percentage", "100");
        } catch (const ArgumentOutOfRangeException& exception) {
            EXPECT_EQ(exception.ParamName(), "percentage");
        }
    });

    EXPECT_GT(allocations, 5);
}

} // namespace
