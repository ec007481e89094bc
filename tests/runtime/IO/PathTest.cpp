// SPDX-License-Identifier: Apache-2.0
#include <System/IO/Path.h>

#include <gtest/gtest.h>

#include <System/Exceptions.h>

#include "tests/support/ExpectException.h"

using System::IO::Path;
using TestSupport::ExpectException;

TEST(Path, CombinesWithOneSlash) {
    const struct {
        const char *a, *b, *whole;
    } ROWS[] = {{"/etc", "hwrevision", "/etc/hwrevision"},
                {"/etc/", "hwrevision", "/etc/hwrevision"},
                {"/", "x", "/x"},
                {"a", "b/c", "a/b/c"},
                {"/etc", "/var/x", "/var/x"},
                {"/etc/", "/", "/"},
                {"", "x", "x"},
                {"x", "", "x"},
                {"x/", "", "x/"},
                {"", "", ""},
                {".", "..", "./.."}};
    for (const auto& row : ROWS)
        EXPECT_EQ(Path::Combine(row.a, row.b), row.whole) << row.a << " and " << row.b;
}

TEST(Path, RefusesNull) {
    ExpectException<System::ArgumentNullException>("The argument \"a\" must not be null",
                                                   [] { Path::Combine(nullptr, "b"); });
    ExpectException<System::ArgumentNullException>("The argument \"b\" must not be null",
                                                   [] { Path::Combine("a", nullptr); });
}
