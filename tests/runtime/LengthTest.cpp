// SPDX-License-Identifier: Apache-2.0
#include "runtime/Length.h"

#include <climits>
#include <cstddef>

#include <gtest/gtest.h>

#include "tests/support/ExpectException.h"

namespace {

using System::ArgumentOutOfRangeException;
using System::CheckedLength;

constexpr std::size_t GREATEST = sizeof(void*) == 8 ? INT_MAX : INT_MAX / 2 - 512;

TEST(Length, IsTheNumberAsAnInt) {
    EXPECT_EQ(CheckedLength(0, "text"), 0);
    EXPECT_EQ(CheckedLength(7, "text"), 7);
    EXPECT_EQ(CheckedLength(GREATEST, "text"), static_cast<int>(GREATEST));
}

TEST(Length, RejectsMoreThanAnIntOrTheMemoryHolds) {
    TestSupport::ExpectException<ArgumentOutOfRangeException>("The argument \"text\" is out of range",
                                                              [] { CheckedLength(GREATEST + 1, "text"); });
}

} // namespace
