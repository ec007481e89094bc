// SPDX-License-Identifier: Apache-2.0
#include "runtime/TypeName.h"

#include <typeinfo>
#include <vector>

#include <gtest/gtest.h>

#include <System/Exceptions.h>

namespace {

TEST(TypeName, IsTheNameAsWrittenInCode) {
    EXPECT_EQ(System::TypeName(typeid(System::FormatException).name()), "System::FormatException");
    EXPECT_EQ(System::TypeName(typeid(int).name()), "int");
}

TEST(TypeName, LeavesANameThatItCannotReadAsItIs) {
    EXPECT_EQ(System::TypeName("not a name"), "not a name");
}

} // namespace
