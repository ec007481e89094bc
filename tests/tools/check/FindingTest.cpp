// SPDX-License-Identifier: Apache-2.0
#include "tools/check/Finding.h"

#include <string>

#include <gtest/gtest.h>

using namespace VelrixTools;

namespace {

Finding At(std::size_t line, std::size_t column, std::size_t width, const std::string& source,
           Severity severity = Severity::ERROR) {
    return {severity, "rule", "text", {line, column, width}, source};
}

} // namespace

TEST(Finding, IsDescribedAsByACompiler) {
    EXPECT_EQ(Describe("a.conf", At(12, 3, 4, "  name = 1"), false), "a.conf:12:3: error: text\n"
                                                                     "   12 |   name = 1\n"
                                                                     "      |   ^~~~\n");
    EXPECT_EQ(Describe("a.conf", At(1, 1, 1, "x", Severity::WARNING), false), "a.conf:1:1: warning: text\n"
                                                                              "    1 | x\n"
                                                                              "      | ^\n");
}

TEST(Finding, MarksAfterTabsAndLettersOfSeveralBytes) {
    EXPECT_EQ(Describe("f", At(1, 3, 1, "\t\xC3\xA4!"), false), "f:1:3: error: text\n"
                                                                "    1 | \t\xC3\xA4!\n"
                                                                "      | \t ^\n");
}

TEST(Finding, MarksTheEndOfALine) {
    EXPECT_EQ(Describe("f", At(1, 3, 1, "k="), false), "f:1:3: error: text\n"
                                                       "    1 | k=\n"
                                                       "      |   ^\n");
}

TEST(Finding, ShowsOfALongLineThePartAroundThePlace) {
    std::string line(500, 'a');
    line += "!";
    line.append(500, 'b');

    const std::string described = Describe("f", At(1, 501, 600, line), false);

    EXPECT_EQ(described, "f:1:501: error: text\n"
                         "    1 | ..." +
                             std::string(40, 'a') + "!" + std::string(79, 'b') +
                             "...\n"
                             "      |    " +
                             std::string(40, ' ') + "^" + std::string(79, '~') + "\n");
}

TEST(Finding, HasColoursOnRequestAndNeverControlCharactersOfTheFile) {
    EXPECT_EQ(Describe("f\x1b", At(1, 1, 1, "\x1b[2J"), true), "\x1b[1mf?:1:1:\x1b[0m \x1b[1;31merror:\x1b[0m text\n"
                                                               "    1 | ?[2J\n"
                                                               "      | \x1b[1;31m^\x1b[0m\n");
}
