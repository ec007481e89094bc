// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <ostream>
#include <string>
#include <typeinfo>

#include <gtest/gtest.h>

#include <System/Exceptions.h>

namespace System {

// Prints texts in failed comparisons.
inline void PrintTo(const string_ptr& text, std::ostream* stream) {
    if (text)
        *stream << '"' << text->ToUtf8() << '"';
    else
        *stream << "null";
}

} // namespace System

namespace TestSupport {

// Expects the operation to throw exactly an Expected, not one derived from it, with exactly this message.
template <class Expected, class Operation>
void ExpectException(const std::string& message, Operation&& operation) {
    try {
        operation();
    } catch (const System::Exception& exception) {
        EXPECT_STREQ(typeid(exception).name(), typeid(Expected).name()) << exception.ToString()->ToUtf8();
        EXPECT_EQ(exception.what(), message);
        return;
    }
    ADD_FAILURE() << "nothing was thrown where this was expected: " << message;
}

} // namespace TestSupport
