// SPDX-License-Identifier: Apache-2.0
#include <velrix/config/ParseErrors.h>

#include <climits>

#include <gtest/gtest.h>

#include <System/Exceptions.h>

#include "tests/support/ExpectException.h"

using System::FormatException;
using System::string_ptr;
using TestSupport::ExpectException;
using Velrix::_throw_unexpected_char_exception;
using Velrix::_throw_unexpected_eof_exception;

namespace {

string_ptr CharMessage(unsigned short c) {
    try {
        _throw_unexpected_char_exception(c, "/f", 0, 1);
    } catch (const FormatException& exception) {
        return exception.Message();
    }
}

} // namespace

TEST(ParseErrors, NameTheFileThatEndsTooEarly) {
    ExpectException<FormatException>("Unexpected end of file when parsing /etc/velrix.conf",
                                     [] { _throw_unexpected_eof_exception("/etc/velrix.conf"); });
}

TEST(ParseErrors, NameTheCharacterItsPlaceAndTheFile) {
    ExpectException<FormatException>("Unexpected char '!' at 3:7 when parsing /etc/velrix.conf",
                                     [] { _throw_unexpected_char_exception('!', "/etc/velrix.conf", 3, 7); });
    ExpectException<FormatException>("Unexpected char '7' at 2147483647:0 when parsing /f",
                                     [] { _throw_unexpected_char_exception('7', "/f", INT_MAX, 0); });
}

TEST(ParseErrors, ShowTheCodeUnitAsItIs) {
    EXPECT_EQ(CharMessage('\n'), u"Unexpected char '\n' at 0:1 when parsing /f");
    EXPECT_EQ(CharMessage(0xC4), u"Unexpected char '\u00C4' at 0:1 when parsing /f");
    EXPECT_EQ(CharMessage(0), (std::u16string_view(u"Unexpected char '\0' at 0:1 when parsing /f", 42)));
    EXPECT_EQ(CharMessage(0xD800)->operator[](17), u'\xD800');
}

TEST(ParseErrors, TakeANullPathForAnEmptyOne) {
    ExpectException<FormatException>("Unexpected end of file when parsing ",
                                     [] { _throw_unexpected_eof_exception(nullptr); });
    ExpectException<FormatException>("Unexpected char 'x' at 1:2 when parsing ",
                                     [] { _throw_unexpected_char_exception('x', nullptr, 1, 2); });
}
