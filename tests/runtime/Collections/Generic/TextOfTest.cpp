// SPDX-License-Identifier: Apache-2.0
#include <System/Collections/Generic/TextOf.h>

#include <memory>
#include <typeinfo>

#include <gtest/gtest.h>

#include <System/Text/StringBuilder.h>

#include "tests/support/ExpectException.h"

namespace {

using namespace System;
using Collections::Generic::TextOf;

enum class Fruit { APPLE };

TEST(TextOf, ShowsTextsNumbersAndObjects) {
    const auto builder = Text::StringBuilder::Create();
    builder->Append("built");

    EXPECT_EQ(TextOf(string_ptr("text")), "text");
    EXPECT_EQ(TextOf(string_ptr()), "null");
    EXPECT_EQ(TextOf(true), "true");
    EXPECT_EQ(TextOf(false), "false");
    EXPECT_EQ(TextOf(-5), "-5");
    EXPECT_EQ(TextOf(static_cast<unsigned char>(65)), "65");
    EXPECT_EQ(TextOf(builder), "built");
    EXPECT_EQ(TextOf(std::shared_ptr<Object>()), "null");
}

TEST(TextOf, NamesTheTypeOfAnythingElse) {
    EXPECT_EQ(TextOf(Fruit::APPLE), typeid(Fruit).name());
}

} // namespace
