// SPDX-License-Identifier: Apache-2.0
#include "tools/velrixctl/Console.h"

#include <string>

#include <gtest/gtest.h>

using namespace VelrixTools;

TEST(Console, EscapesWhatIsNoText) {
    EXPECT_EQ(Escaped("a\n\r\t\x1b[1m\x7f\xFF\xC3\xA4\xC2\x85"), "a\\n\\r\\t\\x1B[1m\\x7F\\xFF\xC3\xA4\\xC2\\x85");
    EXPECT_EQ(Escaped(std::string(1, '\0')), "\\x00");
}
